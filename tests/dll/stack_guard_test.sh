#!/usr/bin/env bash
# Tells the test where in the DLL the stack guard lies: the DLL itself has no symbols.
set -euo pipefail
SS_STACK_GUARD=$("$SS_SOURCE/scripts/lib/stack-guard" "$SS_BIN") "$SS_WINE" "$1"
