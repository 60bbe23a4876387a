#!/usr/bin/env bash
# The DLL needs nothing but libraries that every Windows has, no runtime to install beside it, and of
# kernel32 only functions that the oldest Windows named in the README has.
set -euo pipefail

oldest=6.1
oldest_name="Windows 7"

dump=$(x86_64-w64-mingw32-objdump -p "$SS_BIN/system_search.dll")
imports=$(sed -nE 's/^\tDLL Name: (.*)$/\1/p' <<<"$dump" | tr '[:upper:]' '[:lower:]' | sort -u)
grep -qx kernel32.dll <<<"$imports" || { echo "no imports could be read"; exit 1; }
if others=$(grep -vxE '(kernel32|msvcrt)\.dll' <<<"$imports"); then
    echo "unexpected imports:"
    echo "$others"
    exit 1
fi

# FUNCTION of each line "ADDRESS HINT FUNCTION" below kernel32's name.
functions=$(awk '/DLL Name:/ { here = tolower($3) == "kernel32.dll" }
                 here && $1 ~ /^[0-9a-f]+$/ && $2 ~ /^[0-9]+$/ && NF == 3 { print $3 }' <<<"$dump")
[[ $(wc -l <<<"$functions") -gt 40 ]] || { echo "no functions could be read"; exit 1; }
failed=0
newest=0
while read -r function; do
    since=$(awk -v name="$function" '$2 == name { print $1 }' "$SS_SOURCE/tests/dll/imports.txt")
    if [[ -z $since ]]; then
        echo "$function: tests/dll/imports.txt does not say since which Windows it is there"
        failed=1
    elif [[ $(printf '%s\n' "$since" "$oldest" | sort -V | tail -1) != "$oldest" ]]; then
        echo "$function needs version $since; the README says $oldest_name, $oldest"
        failed=1
    fi
    newest=$(printf '%s\n' "$since" "$newest" | sort -V | tail -1)
done <<<"$functions"
[[ $newest == "$oldest" ]] || { echo "version $newest would do; the README says $oldest_name"; failed=1; }
grep -qF "every 64-bit Windows since $oldest_name" "$SS_SOURCE/README.md" ||
    { echo "the README does not name $oldest_name"; failed=1; }
exit $failed
