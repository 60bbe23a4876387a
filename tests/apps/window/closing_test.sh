#!/usr/bin/env bash
# The window is closed at any moment and ends with exit code 0; what it remembered is there again;
# two windows share one cache; and it can be resized and moved between screens.
set -euo pipefail
# shellcheck source=tests/apps/window/session.sh
source "$(dirname "${BASH_SOURCE[0]}")/session.sh"
start_session

tree=$scratch/disk
for ((i = 0; i < 40; ++i)); do
    mkdir "$tree/folder-$i"
    touch "$tree/folder-$i/item-$i-"{000..249}.txt
done
disk=$(windows_path "$tree")
settings=$scratch/kept
kept=$(windows_path "$settings")
names=10,040

begin() { probe start "$1" "$(windows_path "$program") --scope $disk --settings $kept"; }
ends() {
    check "$1" 'ended 0' state
    probe forget
}

# At any moment, without a cache first. A folder costs 100 ms at most when the disk is slow.
slow 100
begin early
check "a window comes" '.*' close
ends "closed as soon as there is a window, it ends"
begin shown
need "the window shows" shown state
probe close
ends "closed as soon as it shows, it ends"
begin reading
need "the disk is being read" 'Reading the disk: [1-9].*' status 1
probe close
ends "closed while the disk is read, it ends"
begin typing
need "the disk is being read again" 'Reading the disk: [1-9].*' status 1
check "its box has the focus" $box focus
type_text item-1
probe close
ends "closed in the midst of a search, it ends"
begin key
need "the disk is being read once more" 'Reading the disk: [1-9].*' status 1
check "that box has the focus" $box focus
keys alt+F4
ends "Alt+F4 closes it while the disk is read"

quick
begin filled
need "all names are read" 'Names of today, .*' status 1
probe close
ends "closed when all is read, it ends"
same "the cache is one file" 1 "$(find "$settings" -name '*.index' | wc -l)"
same "no other file of the cache is left" 0 "$(find "$settings" -name '*.tmp' | wc -l)"

# With a cache.
slow 100
begin loaded
need "the names of before are there while the disk is read" \
    'Names of today, [^.]*\. Reading the disk: [1-9].*' status 1
check "and are searched" "The first 1000 of $names\. .*" status 0
probe close
ends "closed while the disk is read anew, it ends"

begin cached
check "a window with a cache comes" '.*' close
ends "closed while its names are loaded, it ends"

# Two windows on one cache.
begin one
need "one window is ready" 'Names of today, .*' status 1
begin two
need "the other window is ready" 'Names of today, .*' status 1
quick
check "the other window has read the disk anew" 'Names of today, [^.]*' status 1
probe use one
check "the one window has read the disk anew" 'Names of today, [^.]*' status 1
touch "$tree/brand new.txt"
for each in one two; do
    come_forward $each
    search_for brand
    check "window $each searches" '[01] of .*' status 0
    keys F5
    check "window $each finds what is new" '1 of 10,041 names.*' status 0
done
same "both windows keep one cache" 1 "$(find "$settings" -name '*.index' | wc -l)"
probe close
ends "one of two windows ends"
probe use one
check "the other one is still searched" '1 of 10,041 names.*' status 0

# Its place and size, and what is chosen in it, are there again.
probe put 140 90 700 420
probe choose $kind 1
click place_of $match_case
check "match case is on" yes checked $match_case
xdotool search --sync --onlyvisible --name 'System Search' >"$scratch/windows"
probe place
place=$answer
same "the window is where it was put" '140 90 700 420' "$place"
probe width 0
width=$answer
probe place_of_column 0
read -r x y column_width height <<<"$answer"
xdotool mousemove $((x + column_width - 1)) $((y + height / 2)) mousedown 1 \
    mousemove_relative 20 0 mousemove_relative 20 0 mouseup 1
width=$((width + 40))
check "a column is dragged wider" "$width" width 0
probe close
ends "the window with all that ends"
begin again
need "it opens again" shown state
check "where it was" "$place" place
check "with the kind of before" Files choice $kind
check "with the case of before" yes checked $match_case
check "with the column of before" "$width" width 0
check "with the names of before" 'Names of today, .*' status 1

# As large as the screen, and as before.
probe maximize
check "it takes the whole screen" yes maximized
probe close
ends "the large window ends"
begin large
need "it opens once more" shown state
check "as large as it was" yes maximized
probe restore
check "it can be made smaller" no maximized
check "and is where it was before" "$place" place
come_forward large
probe close
ends "the small window ends"
begin again
need "it opens again after that" shown state
check "no larger than before" no maximized

# Resizing and other screens.
come_forward again
search_for item-1
check "it searches as before" 'The first 1000 of 2750\. .*' status 0
for size in '1200 700' '300 200' '130 60' '820 520'; do
    read -r x y <<<"$size"
    probe put 20 20 "$x" "$y"
    check "it answers at $size" 1000 count
done
check "the list is as wide as the window" '[0-9]+ [0-9]+ 8[0-9]{2} [0-9]+' place_of $list
probe place_of $box
read -r _ _ _ height <<<"$answer"
for dpi in 144 192 96; do
    probe dpi $dpi || fail "it takes $dpi dots per inch" "$answer"
    check "it shows its rows at $dpi dots per inch" 'item-.*' row 0
    probe place_of $box
    read -r _ _ _ now <<<"$answer"
    checks=$((checks + 1))
    if ((now * 96 < height * dpi * 8 / 10 || now * 96 > height * dpi * 12 / 10)); then
        fail "the box has the height for $dpi dots per inch" "$height at 96, $now at $dpi"
    fi
done
for message in 0x0015 0x031A 0x001A; do  # other colours, another theme, other settings
    probe tell $((message))
    check "it shows its rows after message $message" 'item-.*' row 0
done
for control in $box $scope $kind; do
    check "a screen reader has a name for control $control" '.*[A-Za-z].*' spoken "$control"
done

# Another folder, and the one of before.
keys ctrl+o
check "Ctrl+O opens the system's picker" '(.|\n)*#32770\t(.|\n)*' windows
answer_box Escape "Search in this folder"
check "Esc closes it" '((?!#32770)(.|\n))*' windows
check "and changes nothing" '.*disk' title
come_forward again
keys ctrl+o
check "the picker opens again" '(.|\n)*#32770\t(.|\n)*' windows
answer_box Tab "Search in this folder"
keys shift+Tab
type_text "$disk\\folder-7"
keys Return
check "the folder that was picked is searched" '.*folder-7' title
check "in its names alone" '0 of 250 names, .*' status 0
probe close
ends "it ends after all that"
probe start other "$(windows_path "$program") --settings $kept"
need "it opens with nothing said about the folder" shown state
check "the folder that was picked is remembered" '.*folder-7' title
check "its names are read" 'Names of today, [^.]*' status 1
check "both folders can be chosen" '(.|\n)*disk.folder-7\n.*disk(\n.*)?' choices $scope
probe choose $scope 2
check "the folder of before is searched again" '.*disk' title
check "all of it" "1000" count

# All local drives, and a folder on one of them that takes longer to read than the test takes.
slow 200
probe choose $scope 0
check "all drives can be chosen" 'System Search' title
check "the list of scopes says so" 'All local drives' choice $scope
check "they are read" 'Reading the disk: [1-9].*' status 1
probe close
ends "closed while all drives are read, it ends"
probe start drives "$(windows_path "$program") --settings $kept"
need "it opens on all drives" shown state
check "all drives are remembered" 'All local drives' choice $scope
check "and read" 'Reading the disk: [1-9].*' status 1
probe close
ends "closed while they are read, it ends again"
quick

# What it measures, and its version.
measured=$scratch/measured.txt
probe start measured "$(windows_path "$program") --scope $disk --settings $kept --measure $(windows_path "$measured")"
need "it opens to be measured" shown state
come_forward measured
type_text item-3
check "it finds" '1000' count
probe close
ends "it ends after measuring"
checks=$((checks + 1))
grep -q 'ms' "$measured" || fail "it has measured" "$(cat "$measured")"
"$SS_WINE" "$program" --version >"$scratch/version" || fail "--version succeeds"
same "--version tells the version" "system-search-window 1.0.0" "$(tr -d '\r' <"$scratch/version")"
finish
