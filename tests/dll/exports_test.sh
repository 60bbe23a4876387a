#!/usr/bin/env bash
# The DLL exports exactly the golden list, each function under its fixed ordinal, and the header
# declares exactly the same functions.
set -euo pipefail

# objdump prints each name after its position in the table of addresses; the ordinal base is 1, so
# that position N is ordinal N + 1. Between the two, objdump 2.41 and later add the ordinal itself and
# the name's own position: "[   3] +base[   4]  0000 ss_cancel".
exports=$(x86_64-w64-mingw32-objdump -p "$SS_BIN/system_search.dll" |
    sed -nE '/^\[Ordinal\/Name Pointer\] Table/,/^$/ s/^\t\[ *([0-9]+)\]( \+base\[.*\] +[0-9a-f]+)? (\w+)$/\1 \3/p' |
    awk '{ print $1 + 1, $2 }' | sort -n)
diff -u "$SS_SOURCE/tests/dll/exports.golden" - <<<"$exports"

# The header declares the same functions: no more, no fewer.
declared=$(gcc -E -P "$SS_SOURCE/include/system_search.h" | grep -oE '\bss_\w+ *\(' |
    tr -d ' (' | sort)
if ! diff -u <(cut -d' ' -f2 "$SS_SOURCE/tests/dll/exports.golden" | sort) - <<<"$declared"; then
    echo "the header declares other functions than the DLL exports (see above)"
    exit 1
fi
