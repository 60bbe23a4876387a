#!/usr/bin/env bash
# Tells the test where in the DLL the stack guard lies: the DLL itself has no symbols.
set -euo pipefail

base=$(x86_64-w64-mingw32-objdump -p "$SS_BIN/system_search.dll" |
    sed -nE 's/^ImageBase\s+([0-9a-f]+)$/\1/p')
guard=$(x86_64-w64-mingw32-nm "$SS_BIN/system_search.dll.debug" |
    sed -nE 's/^([0-9a-f]+) D __stack_chk_guard$/\1/p')
SS_STACK_GUARD=$((16#$guard - 16#$base)) "$SS_WINE" "$1"
