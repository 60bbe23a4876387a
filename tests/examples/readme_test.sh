#!/usr/bin/env bash
# The example in README.md is the one that the build compiles.
set -euo pipefail
diff -u "$SS_SOURCE/examples/minimal.c" <(sed -n '/^```c$/,/^```$/ { /^```/d; p }' "$SS_SOURCE/README.md")
