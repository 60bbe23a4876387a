#!/usr/bin/env bash
# What the window says when something is wrong: one sentence, and it stays usable.
set -euo pipefail
# shellcheck source=tests/apps/window/session.sh
source "$(dirname "${BASH_SOURCE[0]}")/session.sh"
start_session

tree=$scratch/disk
mkdir -p "$tree/denied"
touch "$tree/"{one,two,three}.ssnone "$tree/denied/hidden.txt"
chmod 000 "$tree/denied"
disk=$(windows_path "$tree")

# The folder of the scope is gone.
open gone --scope "$disk-gone"
check "a folder that is gone is told" "Cannot read .*disk-gone: .+\." status 0
check "nothing is listed then" 0 count
check "nothing is read any more" '()' status 1
check "it is told until something else is asked for" "Cannot read .*disk-gone: .+\." status 0
search_for one
check "nothing is found there" 0 count
close_window gone "it ends without its folder"

# A file is no folder.
open file --scope "$disk\\one.ssnone"
check "a file instead of a folder is told" "Cannot read .*one.ssnone: .+\." status 0
close_window file "it ends without a folder"

# The cache cannot be written, nor can the settings be: their folder may only be read.
mkdir "$scratch/locked" "$tree/folder"
printf 'recent=%s\n' "${disk//\\//}/folder" >"$scratch/locked/settings.ini"
chmod 500 "$scratch/locked"
open locked --scope "$disk"
check "a cache that cannot be written is told" \
    'Names of today, .*\. They could not be kept for the next time\.' status 1
search_for '*two*'
check "and its names are searched all the same" '1 of .* names, .*' status 0
probe choose $scope 2
check "settings that cannot be kept are told" 'The settings cannot be kept in .*locked' status 0
check "the other folder is searched all the same" 0 count
search_for one
check "the next answer takes that sentence's place" '0 of .*' status 0
close_window locked "it ends though it can keep nothing"
chmod 700 "$scratch/locked"

# What was skipped.
open skipped --scope "$disk"
check "the names are read" 'Names of today, .*' status 1
check "what was skipped is counted" '1 skipped' status 2
keys F1
check "F1 tells more" '(.|\n)*1 item was skipped(.|\n)*' box
answer_box Escape
check "the box goes away" '' box
come_forward skipped

# A result that has vanished, and one that no program opens.
search_for one.ssnone
check "it is found" '1 of .*' status 0
rm "$tree/one.ssnone"
keys Down Return
check "a vanished result is told when it is opened" '"one.ssnone" is not there any more\.' status 0
keys ctrl+Return
check "and when its folder is asked for" '"one.ssnone" is not there any more\.' status 0
search_for two.ssnone
check "the next result takes the sentence's place" '1 of .*' status 0
keys Down Return
check "a kind that no program opens is told" '"two.ssnone" could not be opened: .+\.' status 0
search_for '?hree.ssnone'
check "a result is there to be copied" '1 of .*' status 0
click place_of_row 0
check "it is selected" 0 selected
probe hold_clipboard || fail "the clipboard can be held" "$answer"
keys ctrl+c
check "a clipboard that another program holds is told" \
    'Another program holds the clipboard: nothing was copied\.' status 0
probe give_clipboard
keys ctrl+c
check "when it is given back, it can be copied" '.*three.ssnone' clipboard

# No memory for anything new: the system grants the program no more than it has.
number=$(pgrep -f "system-search-window\.exe.*${scratch##*/}.skipped")
kib=$(awk '/^VmSize/ {print $2}' "/proc/$number/status")
prlimit --pid "$number" --as=$(((kib - 100000) * 1024)):
search_for two
check "a search without memory is told" \
    'The search failed: there is not enough memory\.' status 0
keys F5
check "and so is a reading" 'Names of .*\. Not read anew: .+\.' status 1
prlimit --pid "$number" --as=unlimited:
search_for three
check "with memory again it searches" '1 of .*' status 0
keys F5
check "and reads" 'Names of today, [^.]*' status 1
close_window skipped "it ends after trouble"

# A cache that is damaged is passed over.
cache=$(find "$scratch/skipped" -name '*.index')
printf 'nonsense' >"$cache"
open skipped --scope "$disk"
check "a damaged cache is replaced" 'Names of today, [^.]*' status 1
close_window skipped "it ends"
checks=$((checks + 1))
grep -q system-search-v1 "$cache" || fail "the damaged cache is a cache again"
printf 'kind=\377\nwindow=9 9\n=\ncolumns=0 0 0 0\nscope=\377\nrecent=' >"$scratch/skipped/settings.ini"
head -c 100000 /dev/urandom >>"$scratch/skipped/settings.ini"
open skipped --scope "$disk"
check "damaged settings are passed over" 'Names of today, .*' status 1
check "damaged column widths, too" 260 width 0
close_window skipped "it ends with damaged settings"

# The library is missing, or none, or lacks a function.
alone=$scratch/alone
mkdir "$alone"
cp "$program" "$alone"
told() {
    probe start "$1" "$(windows_path "$alone/system-search-window.exe")"
    check "$2" "$3" box
    answer_box Return
    check "and the program ends" 'ended [1-9][0-9]*' state
    probe forget
}
told missing "a missing library is told" '(.|\n)*The library is missing: .*system_search.dll(.|\n)*'
echo nonsense >"$alone/system_search.dll"
told nonsense "a file that is no library is told" \
    '(.|\n)*The library cannot be used: (.|\n)*'
# changed FROM TO: the library with other bytes in place of some.
changed() {
    python3 - "$SS_BIN/system_search.dll" "$alone/system_search.dll" "$1" "$2" <<'PYTHON'
import sys
source, target, before, after = sys.argv[1:]
data = open(source, "rb").read()
before, after = bytes.fromhex(before), bytes.fromhex(after)
assert data.count(before) == 1 and len(before) == len(after)
open(target, "wb").write(data.replace(before, after))
PYTHON
}
changed "$(printf 'ss_query_poll\0' | od -An -tx1 | tr -d ' ')" "$(printf 'ss_query_pole\0' | od -An -tx1 | tr -d ' ')"
told lacking "a library that lacks a function is told" '(.|\n)*The library cannot be used: (.|\n)*'
probe start wrong "$(windows_path "$program") --nonsense"
check "an unknown option is told" '(.|\n)*"--nonsense" is not understood\.(.|\n)*' box
answer_box Return
check "and the program ends then" 'ended [1-9][0-9]*' state
finish
