#!/usr/bin/env bash
# Typing into the window while the disk is read and afterwards: what the list and the status say,
# what stays where it is, and that a thousand keys leave nothing behind.
set -euo pipefail
# shellcheck source=tests/apps/window/session.sh
source "$(dirname "${BASH_SOURCE[0]}")/session.sh"
start_session

# 40 folders of 250 files, "item-00-000.txt" to "item-39-249.txt", and one file beside them.
folders=40
for ((i = 0; i < folders; ++i)); do
    folder=$(printf '%s/disk/folder-%02d' "$scratch" "$i")
    mkdir "$folder"
    touch "$folder/item-$(printf '%02d' "$i")-"{000..249}.txt
done
printf '%1536s' '' >"$scratch/disk/Zebra Report.txt"
touch -d '2024-05-01 05:34:56 UTC' "$scratch/disk/Zebra Report.txt"
shown_names=10,043  # with the two that come later
disk=$(windows_path "$scratch/disk")

# While the disk is read: a few folders, until there is something to see, and no more until the
# next look at it.
slow 50
open a --scope "$disk"
check "the title names the scope" "System Search - ${disk//\\/\\\\}" title
check "the status counts the names while the disk is read" \
    'Reading the disk: [1-9][0-9,]* names' status 1
type_text item
check "results appear while the disk is read" '[1-9][0-9]*' count
hold
check "the disk is still being read then" 'Reading the disk: .*' status 1
probe status 0
first=$answer
slow 50
check "results go on to appear without a key" "(?!$first$).*of.*[0-9].*" status 0
hold
check "the disk is still being read even then" 'Reading the disk: .*' status 1

# A few folders more are read, until the list has more to show.
let_results_grow() {
    local first
    probe status 0
    first=$answer
    slow 50
    check "$1" "(?!$first$).*of.*" status 0
    hold
}

# What the user looks at stays where it is while results come in before and after it.
search_for '*9.txt'
check "a pattern finds others while the disk is read" 'item-.*9.txt.*' row 0
check "more is found than the list shows" '[5-9][0-9]|[0-9]{3,}' count
check "the box has the focus" $box focus
keys Next Next
check "the list is scrolled" '[1-9][0-9]*' top
probe top_row
looked_at=${answer%%$'\t'*}
let_results_grow "results grow around what is looked at"
check "the first row in view is the same while results grow" "${looked_at:?}.*" top_row
check "the disk was being read meanwhile" 'Reading the disk: .*' status 1

# What the user points at stays selected.
search_for '*99.txt'
check "another text finds others while the disk is read" 'item-.*99.txt.*' row 0
keys Down Down Down Down Down
check "each of the arrow keys moves the selection in the list" '([4-9]|[1-9][0-9]+)' selected
probe selected_row
chosen=${answer%%$'\t'*}
let_results_grow "results grow below a selection"
check "the selection stays with its name while results grow" "${chosen:?}.*" selected_row
check "the disk was still being read" 'Reading the disk: .*' status 1

# F5 during the reading asks for another one, for what changes where it has been.
keys F5
check "F5 during the reading is told" \
    'Reading the disk: [0-9,]+ names, then once more' status 1
touch "$scratch/disk/folder-00/late-99.txt"
touch "$scratch/disk/folder-39/late-99.txt"

quick
check "the status tells when all names are read" \
    'Names of today, [0-9:]+( [AP]M)?' status 1
check "the list then shows the final number" \
    "82 of $shown_names names, [0-9.,]+ ms" status 0
check "every one of them is a row" 82 count
check "the selection has stayed to the end" "${chosen:?}.*" selected_row

# A loaded disk.
search_for zebra
check "one result is counted among all names" "1 of $shown_names names, [0-9.,]+ ms" status 0
check "a row tells name, folder, size and time" \
    "Zebra Report.txt\t${disk//\\/\\\\}\t[^\t]*(1.5|1,5|2|1,536)[^\t]*\t[^\t]*2:34[^\t]*" row 0
search_for 'no such name'
check "nothing found is told as well" "0 of $shown_names names, [0-9.,]+ ms\. All of these words .*" status 0
check "the list is empty then" 0 count
keys Escape
check "Esc empties the box" '' text $box
check "an empty text finds every name" \
    "The first 1000 of $shown_names\. Type more to narrow them down\." status 0
search_for 'folder-07\item-07-12'
check "a backslash means a slash, and a path is searched for what it says" '[0-9]+' count

# Switches.
search_for 'ZEBRA'
check "letters match in either case" '1 of .*' status 0
click place_of $match_case
check "match case holds back the other case" '0 of .*' status 0
click place_of $match_case
check "without match case it is back" '1 of .*' status 0
search_for 'folder-03'
check "a name is searched without its folder" '1 of .*' status 0
click place_of $whole_path
check "the whole path is searched when asked" '251 of .*' status 0
probe choose $kind 2
check "only folders are shown when asked" '1 of .*' status 0
probe choose $kind 1
check "only files are shown when asked" '250 of .*' status 0
probe choose $kind 0
click place_of $whole_path
check "all kinds are back" '1 of .*' status 0

# Columns.
search_for 'item-05-'
check "a folder of files is found" '250 of .*' status 0
check "they come in the order of their names" 'item-05-000.txt.*' row 0
click place_of_column 0
check "a click on a column sorts by it" up arrow 0
aside=20 click place_of_column 0
check "another click turns the order" down arrow 0
check "the last name is the first row then" 'item-05-249.txt.*' row 0
click place_of_column 0
check "a third one ends it" none arrow 0
check "the first name is the first row again" 'item-05-000.txt.*' row 0
count=2 click place_of_column 0
check "two clicks as fast as a double click are two as well" 'item-05-249.txt.*' row 0
search_for 'item-0'
check "the status tells that only the rows held are sorted" \
    'The first 1000 of 2500, sorted among themselves\. Type more to narrow them down\.' status 0

# The disk read anew in the midst of typing.
click place_of $box
search_for ''
for letter in i t e m - 0 3 - 2 4; do
    type_text "$letter"
    [[ $letter != [em0-] ]] || keys F5
done
check "F5 in the midst of typing loses no letter" 'item-03-24' text $box
check "and the answer is right" "10 of $shown_names names.*" status 0
check "the disk is read to the end" 'Names of today, [^.]*' status 1
touch "$scratch/disk/item-03-24 new.txt"
keys F5
check "F5 finds what is new" '11 of .*' status 0

# Everything that a key costs is given back. The first hundred keys fill what is kept for good.
key_delay_ms=3
hundred=$(printf 'item-03-%.0s' {1..10})
hundred=${hundred:0:50}
press_hundred() {
    type_text "$hundred"
    keys --repeat 50 --delay 3 BackSpace
}
settle() {
    search_for item-07-1
    check "$1" '100 of .*' status 0
}
press_hundred
settle "the window answers after a hundred keys"
probe handles || fail "handles are counted" "$answer"
before=$answer
for ((i = 0; i < 10; ++i)); do press_hundred; done
settle "the window answers after a thousand keys"
# A leak of one object in a hundred keys would be ten. Fewer come and go with the system's threads.
none_left() {
    local gdi user kernel gdi_before user_before kernel_before
    probe handles
    read -r gdi user kernel <<<"$answer"
    read -r gdi_before user_before kernel_before <<<"$before"
    ((gdi < gdi_before + 10 && user < user_before + 10 && kernel < kernel_before + 10))
}
limit=$((SECONDS + 60))
until none_left || ((SECONDS > limit)); do sleep 0.1; done
checks=$((checks + 1))
none_left || fail "a thousand keys leave no GDI, USER or kernel object" "$answer, before them $before"

close_window a "the window closes"
finish
