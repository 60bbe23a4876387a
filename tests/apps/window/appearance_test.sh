#!/usr/bin/env bash
# What the window looks like and sounds like: dark where the user has set it, beside its like, with
# names for screen readers and an announcement for each answer.
set -euo pipefail
# shellcheck source=tests/apps/window/session.sh
source "$(dirname "${BASH_SOURCE[0]}")/session.sh"
start_session

touch "$scratch/disk/"{one,two}.txt
disk=$(windows_path "$scratch/disk")
setting='HKCU\Software\Microsoft\Windows\CurrentVersion\Themes\Personalize'
use_light() {
    "$SS_WINE" reg add "$setting" /v AppsUseLightTheme /t REG_DWORD /d "$1" /f >"$scratch/reg.log"
}
setting_changed=$((0x001A))

probe listen
use_light 0
open a --scope "$disk"
check "the disk is read" 'Names of today, .*' status 1
check "the list is dark when the setting says so" "$((0x202020)) $((0xFFFFFF))" colors
search_for one
check "it shows its rows" 'one.txt.*' row 0
click place_of_row 0
check "and selects them" 0 selected
use_light 1
probe tell $setting_changed
check "it gets light when the setting changes" "$((0xFFFFFF)) 0" colors

# Screen readers.
check "the list has a name" 'Results' spoken $list
probe announced
before=$answer
search_for two
check "another text is answered" '1 of .*' status 0
check "the answer is announced" "(?!${before:?}$)[0-9]+" announced
rm "$scratch/disk/two.txt"
probe announced
before=$answer
keys Return
check "what cannot be done is told" '"two.txt" is not there any more\.' status 0
check "and announced" "(?!${before:?}$)[0-9]+" announced

# A second window.
probe place
first=$answer
open b --scope "$disk"
probe place
checks=$((checks + 1))
[[ $answer != "$first" ]] || fail "a second window does not hide the first" "both at $first"
close_window b "the second window closes"
close_window a "the first window closes"
finish
