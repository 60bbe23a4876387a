#!/usr/bin/env bash
# The window is closed at any moment and ends with exit code 0; what it remembered is there again;
# two windows share one cache; and it can be resized and moved between screens.
set -euo pipefail
# shellcheck source=tests/window/session.sh
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
for name in one two; do
    probe use $name
    pid=$(xdotool search --onlyvisible --class . 2>/dev/null | head -1) || true
    check "$name is there" shown state
done
finish
