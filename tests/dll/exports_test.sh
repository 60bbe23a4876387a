#!/usr/bin/env bash
# The DLL exports exactly the golden list, each function under its fixed ordinal.
set -euo pipefail

# objdump prints the addresses by ordinal and the names by position; the ordinal base is 1, so that
# the name in row N has the ordinal N + 1.
exports=$(x86_64-w64-mingw32-objdump -p "$SS_BIN/system_search.dll" |
    sed -nE '/^\[Ordinal\/Name Pointer\] Table/,/^$/ s/^\t\[ *([0-9]+)\] (\w+)$/\1 \2/p' |
    awk '{ print $1 + 1, $2 }' | sort -n)
diff -u "$SS_SOURCE/tests/dll/exports.golden" - <<<"$exports"

# The header declares every one of them.
declared=$(gcc -E -P "$SS_SOURCE/include/system_search.h" | grep -oE '\bss_[a-z_]+ *\(' |
    tr -d ' (' | sort -u)
undeclared=$(comm -13 <(echo "$declared") <(cut -d' ' -f2 <<<"$exports" | sort))
[[ -z $undeclared ]] || { echo "not in the header: $undeclared"; exit 1; }
