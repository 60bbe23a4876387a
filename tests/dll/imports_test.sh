#!/usr/bin/env bash
# The DLL needs nothing but libraries that every Windows has: no runtime to install beside it.
set -euo pipefail

imports=$(x86_64-w64-mingw32-objdump -p "$SS_BIN/system_search.dll" |
    sed -nE 's/^\tDLL Name: (.*)$/\1/p' | tr '[:upper:]' '[:lower:]' | sort -u)
grep -qx kernel32.dll <<<"$imports" || { echo "no imports could be read"; exit 1; }
if others=$(grep -vxE '(kernel32|msvcrt)\.dll' <<<"$imports"); then
    echo "unexpected imports:"
    echo "$others"
    exit 1
fi
