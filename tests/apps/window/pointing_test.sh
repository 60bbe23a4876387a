#!/usr/bin/env bash
# Nothing is ever done with another file than the one that was pointed at, whatever the list does
# meanwhile, and however odd the name is.
set -euo pipefail
# shellcheck source=tests/apps/window/session.sh
source "$(dirname "${BASH_SOURCE[0]}")/session.sh"
start_session
documents_open_in_probe

tree=$scratch/disk
mkdir -p "$tree/papers" "$tree/other" "$tree/many/"{01..11}
touch "$tree/papers/"{alpha,beta,gamma}.sstest
for folder in "$tree/many/"*; do touch "$folder/same.ssmany"; done
disk=$(windows_path "$tree")
papers=${disk//\\/\\\\}\\\\papers
mkdir "$scratch/a"
printf 'recent=%s\n' "${disk//\\//}/other" >"$scratch/a/settings.ini"

open a --scope "$disk"
check "the disk is read" 'Names of today, .*' status 1

# A selected row whose file is gone after a reading.
search_for '*.sstest'
check "three documents are found" '3 of .*' status 0
click place_of_row 1
check "one of them is selected" 1 selected
rm "$tree/papers/beta.sstest"
keys F5
check "it is gone after a reading" 2 count
keys Return
check "Enter says that it is gone, and opens no other" \
    '"beta.sstest" is not there any more\.' status 0
keys shift+F10
check "the menu opens for what was selected" '(.|\n)*#32768\t(.|\n)*' windows
keys Escape
check "and closes" '((?!#32768)(.|\n))*' windows

# And one whose file goes while its menu is open.
touch "$tree/papers/beta.sstest"
keys F5
check "it is there again" 3 count
search_for '?????.sstest'
check "two of three are found" '2 of .*' status 0
click place_of_row 1
check "the second is selected" 1 selected
hold
keys F5
check "the disk is being read" '.*Reading the disk: .*' status 1
keys shift+F10
check "its menu opens" '(.|\n)*#32768\t(.|\n)*' windows
rm "$tree/papers/gamma.sstest"
quick
check "it goes while the menu is open" 1 count
keys o
check "the menu says that it is gone, and opens no other" \
    '"gamma.sstest" is not there any more\.' status 0
touch "$tree/papers/gamma.sstest"
keys F5
check "it is back" 2 count

# A double click means the row that is seen, though another answer is on its way.
search_for '*.sstest'
check "three documents are found again" '3 of .*' status 0
hold
probe choose $scope 2
check "another folder is searched, and slow to be read" '.*other' title
check "the list still shows what was found" 3 count
nothing_opened "no document has been opened so far"
count=2 click place_of_row 2
keys Home  # all of the click has arrived when this key has
check "another row is selected after a double click" 0 selected
quick
check "the double click opens the row that was seen" "$papers\\\\gamma.sstest" opened "$(windows_path "$record")"
rm -f "$record"
check "the other folder is read" 'Names of today, .*' status 1
check "and holds none" 0 count
probe choose $scope 2
check "the first folder is searched again" 3 count

# A held Enter opens once.
click place_of_row 0
check "the first row is selected" 0 selected
probe hold_key $list 13
probe hold_key $list 13
keys Down Return
check "a held Enter opens nothing more" "$papers\\\\beta.sstest" opened "$(windows_path "$record")"
rm -f "$record"

# Names that the system's programs would take for others.
touch "$tree/papers/twin.sstest" "$tree/papers/twin.sstest." "$tree/papers/trailing blank "
deep=$tree/$(printf 'd%.0s' {1..200})/$(printf 'e%.0s' {1..100})
mkdir -p "$deep"
touch "$deep/bottom.sstest"
keys F5
search_for '*.sstest.'
check "a name with a dot at its end is found" '1 of .*' status 0
keys Down Return
check "it is not opened as another" \
    '"twin.sstest\." cannot be passed on: other programs leave out the dot .*' status 0
search_for 'trailing'
check "a name with a blank at its end is found" '1 of .*' status 0
keys Down Return
check "it is not called gone" \
    '"trailing blank " cannot be passed on: other programs leave out the dot or blank .*' status 0
keys alt+Return
check "nor has it properties of another" '"trailing blank " cannot be passed on: .*' status 0
search_for bottom
check "a file far down is found" '1 of .*' status 0
keys Down Return
check "its true reason is told" '"bottom.sstest" cannot be passed on: its path has [0-9]+ characters, .*' \
    status 0
nothing_opened "and no document has been opened"

close_window a "the window closes"
finish
