#!/usr/bin/env bash
# Typing: letters reach the box from anywhere, shortcuts are what they are on other windows, and every
# underlined letter leads where it stands.
set -euo pipefail
# shellcheck source=tests/apps/window/session.sh
source "$(dirname "${BASH_SOURCE[0]}")/session.sh"
start_session

tree=$scratch/disk
mkdir -p "$tree/folder"
touch "$tree/march invoice.txt" "$tree/March report.txt" "$tree/folder/march.log"
printf 'no program' >"$tree/broken.exe"
disk=$(windows_path "$tree")
open a --scope "$disk"
check "the disk is read" 'Names of today, .*' status 1

# AltGr comes as Ctrl and Alt together, and writes letters.
type_text 'march invoice'
check "a text is typed" '1 of .*' status 0
keys ctrl+alt+l End x
check "AltGr with L does not select the text" 'march invoicex' text $box
keys ctrl+alt+o ctrl+alt+f y
check "AltGr with O opens no picker" 'march invoicexy' text $box

# Editing.
keys ctrl+BackSpace
check "Ctrl+Backspace deletes a word" 'march ' text $box
keys ctrl+z
check "Ctrl+Z takes it back" 'march invoicexy' text $box
keys Escape
check "Esc empties the box" '' text $box
keys ctrl+z
check "Ctrl+Z takes that back, too" 'march invoicexy' text $box
search_for 'march'
check "three are found" '3 of .*' status 0
click place_of_row 0
check "the list has the keyboard" $list focus
keys ctrl+BackSpace
check "Ctrl+Backspace works from the list" '' text $box

# Letters after an option is clicked.
click place_of $match_case
check "match case is on" yes checked $match_case
type_text 'March'
check "letters go to the box after it" 'March' text $box
check "and leave it on" yes checked $match_case
check "case counts" '1 of .*' status 0
probe choose $kind 1
type_text ' rep'
check "after a choice as well" 'March rep' text $box

# The underlined letters, from the list.
search_for 'March*'
check "one is found" '1 of .*' status 0
aside=30 click place_of_row 0
check "the list has the keyboard once more" $list focus
keys alt+m
check "Alt+M turns match case" no checked $match_case
check "so that all are found" '3 of .*' status 0
keys alt+w
check "Alt+W turns whole path" yes checked $whole_path
keys alt+w
check "and back" no checked $whole_path
keys alt+h
check "Alt+H goes to the kinds" $kind focus
keys alt+s
check "Alt+S goes to the box" $box focus
aside=60 click place_of_row 0
check "and the list again" $list focus
keys alt+o
check "Alt+O opens the picker" '(.|\n)*#32770\t(.|\n)*' windows
answer_box Escape "Search in this folder"
check "which closes" '((?!#32770)(.|\n))*' windows
come_forward a

# What the system says is shown without its placeholders.
search_for broken.exe
check "a program that is none is found" '1 of .*' status 0
keys Return
check "the system's sentence names it" '"broken.exe" could not be opened: [^%]*broken.exe[^%]*' status 0

close_window a "the window closes"
finish
