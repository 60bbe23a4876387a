#!/usr/bin/env bash
# The install tree serves C and C++ hosts by find_package. scripts/package tests the zip with hosts
# in every language, and builds the window from it.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$SS_BIN/.." --prefix "$scratch/tree" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
"$SS_SOURCE/scripts/lib/test-package" "$scratch/tree" c cpp
