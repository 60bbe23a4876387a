#!/usr/bin/env bash
# What can be done with a result: open it, show it, copy it, drag it out, by keys and by the mouse;
# and names that are hard to show.
set -euo pipefail
# shellcheck source=tests/apps/window/session.sh
source "$(dirname "${BASH_SOURCE[0]}")/session.sh"
start_session
documents_open_in_probe

tree=$scratch/disk
mkdir -p "$tree/papers" "$tree/names"
touch "$tree/papers/"{alpha,beta,gamma}.sstest "$tree/papers/delta.unknown"
long=$(printf 'n%.0s' {1..251}).txt
hebrew=$'rtl \u05d3\u05d5\u05d7 \u05e9\u05e0\u05ea\u05d9.txt'
emoji=$'party \U1F389\U1F468\u200D\U1F469\u200D\U1F467.txt'
touch "$tree/names/$long" "$tree/names/$hebrew" "$tree/names/$emoji"
deep=$tree/names/$(printf 'd%.0s' {1..200})/$(printf 'e%.0s' {1..200})
mkdir -p "$deep"
touch "$deep/bottom.txt"
disk=$(windows_path "$tree")
papers=${disk//\\/\\\\}\\\\papers

open a --scope "$disk"
check "the disk is read" 'Names of today, .*' status 1

search_for sstest
check "three documents are found" '3 of .*' status 0
keys Down Return
check "Enter opens the selected result" "$papers\\\\alpha.sstest" \
    opened "$(windows_path "$record")"
rm -f "$record"
probe place_of_row 2
read -r x y width height <<<"$answer"
xdotool mousemove $((x + width / 4)) $((y + height / 2)) click --repeat 2 --delay 20 1
check "a double click opens the result under it" "$papers\\\\gamma.sstest" \
    opened "$(windows_path "$record")"
rm -f "$record"

# Who types fast means what the text finds, not what the list still shows.
keys ctrl+f b e t a Return
check "Enter right after a text opens what it finds" "$papers\\\\beta.sstest" \
    opened "$(windows_path "$record")"
rm -f "$record"
aside=40 click place_of_row 0
check "the list has the keyboard" $list focus
type_text .ss
check "letters typed into the list go into the box" 'beta\.ss' text $box
search_for '*.sstest'
check "the three documents are found again" '3 of .*' status 0

# Several at once.
click place_of_row 0
check "a click selects a row" 0 selected
keys shift+Down
check "Shift selects another row" '0 1' selected
keys shift+Down
check "Shift selects several rows" '0 1 2' selected
keys Return
check "Enter opens all of them" \
    "($papers\\\\(alpha|beta|gamma).sstest\n?){3}" opened "$(windows_path "$record")"

# Copies.
click place_of_row 1
keys ctrl+c
check "the path is copied" "$papers\\\\beta.sstest" clipboard
check "and the file with it" "$papers\\\\beta.sstest" clipboard_files
keys shift+Down
check "two rows are selected" '1 2' selected
keys ctrl+c
check "the paths of several rows are copied, one a line" \
    "$papers\\\\beta.sstest\n$papers\\\\gamma.sstest" clipboard
check "and the files with them" \
    "$papers\\\\beta.sstest\n$papers\\\\gamma.sstest" clipboard_files
keys ctrl+shift+c
check "the paths alone are copied" "no files in the clipboard" clipboard_files
check "as text" "$papers\\\\beta.sstest\n$papers\\\\gamma.sstest" clipboard
button=3 click place_of_row 2
check "a menu opens on the rows" '(.|\n)*#32768\t(.|\n)*' windows
keys p
check "the menu copies the paths" \
    "$papers\\\\beta.sstest\n$papers\\\\gamma.sstest" clipboard
click place_of_row 0
keys shift+F10
check "a menu opens by keys, too" '(.|\n)*#32768\t(.|\n)*' windows
keys n
check "the menu copies the name" alpha.sstest clipboard
keys ctrl+f ctrl+c
check "a text that is selected in the box is copied as such" '\*\.sstest' clipboard
keys End ctrl+c
check "from the box the selected file is copied, too" "$papers\\\\alpha.sstest" clipboard_files
click place_of_row 0
keys shift+F10
check "the menu opens once more" '(.|\n)*#32768\t(.|\n)*' windows
keys Escape
check "Esc closes the menu" '((?!#32768)(.|\n))*' windows

keys alt+Return
check "Alt+Enter shows the properties" \
    '(.|\n)*#32770\tProperties for alpha.sstest\n(.|\n)*' windows
answer_box Escape "Properties for alpha.sstest"
check "Esc closes them" '((?!#32770)(.|\n))*' windows

# Dragged out, onto another window.
click place_of_row 0
check "one row is selected" 0 selected
probe drop_target 900 600 1200 780
probe place_of_row 0
read -r x y width height <<<"$answer"
xdotool mousemove $((x + 20)) $((y + height / 2)) mousedown 1
# To the target and back again until it has noticed: the list starts to drag when it sees a move.
limit=$((SECONDS + 60))
for ((step = 1; SECONDS < limit; ++step)); do
    way=$((step % 16 <= 8 ? step % 16 : 16 - step % 16))
    xdotool mousemove $((x + 20 + (1050 - x) * way / 8)) $((y + 5 + (690 - y) * way / 8))
    ((way == 8)) || continue
    probe hovered
    [[ $answer != yes ]] || break
done
same "a row is dragged over another window" yes "$answer"
xdotool mousemove 1052 694 mouseup 1
check "a row dropped there is a file" "$papers\\\\alpha.sstest" dropped

# Hard names.
search_for '?tl*'
check "a right-to-left name shows whole" "$hebrew\t.*" row 0
click place_of_row 0
keys shift+F10
check "a menu opens on it" '(.|\n)*#32768\t(.|\n)*' windows
keys n
check "it is copied whole" "$hebrew" clipboard
keys ctrl+f ctrl+v
check "and is found by itself" "$hebrew" text $box
check "it alone" '1 of .*' status 0
search_for party
check "emoji show whole" "$emoji\t.*" row 0
search_for nnnnn
check "a name of 255 units shows whole" "$long\t.*" row 0
search_for bottom
check "a folder of more than 400 units shows whole" \
    "bottom.txt\t.*\\\\d{200}\\\\e{200}\t.*" row 0

# Shown in its folder by the system's explorer.
search_for alpha
check "a document is found again" '1 of .*' status 0
keys ctrl+Return
check "Ctrl+Enter shows the result in its folder" '(.|\n)*ExplorerWClass\t[^\n]*papers(.|\n)*' windows

close_window a "the window closes"
finish
