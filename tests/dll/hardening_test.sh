#!/usr/bin/env bash
# The DLL lets Windows place it anywhere in 64 bits and forbid execution of data, carries no debug
# information or time of its own, and names the file that holds the former.
set -euo pipefail
dll=$SS_BIN/system_search.dll

headers=$(x86_64-w64-mingw32-objdump -p "$dll")
for flag in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
    grep -q "$flag" <<<"$headers" || { echo "$flag is missing"; exit 1; }
done
grep -qE '^Time/Date\s+Thu Jan  1 00:00:00 1970' <<<"$headers" || { echo "has a time stamp"; exit 1; }

sections=$(x86_64-w64-mingw32-objdump -h "$dll")
grep -q '\.reloc' <<<"$sections" || { echo "cannot be moved: no .reloc"; exit 1; }
grep -q '\.gnu_debuglink' <<<"$sections" || { echo "does not name its debug file"; exit 1; }
! grep -q '\.debug_' <<<"$sections" || { echo "still has debug information"; exit 1; }
x86_64-w64-mingw32-objdump -h "$dll.debug" | grep -q '\.debug_info' ||
    { echo "$dll.debug has no debug information"; exit 1; }
