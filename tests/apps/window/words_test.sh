#!/usr/bin/env bash
# What a person's text finds: words in any order, letters in both cases whatever the alphabet, paths
# as they are pasted; and what an empty list says.
set -euo pipefail
# shellcheck source=tests/apps/window/session.sh
source "$(dirname "${BASH_SOURCE[0]}")/session.sh"
start_session

tree=$scratch/disk
mkdir -p "$tree/my docs/deep" "$tree/pile"
touch "$tree/march invoice final.docx" "$tree/Final bill march.txt" "$tree/march.txt"
touch "$tree/Überstunden.xlsx" "$tree/überstunden alt.xlsx" "$tree/Äöüäöü.doc"
touch "$tree/my docs/a.txt" "$tree/my docs/deep/b.txt"
touch "$tree/pile/one-"{0000..0699}-two "$tree/pile/two-"{0000..0699}-one
disk=$(windows_path "$tree")
open a --scope "$disk"
check "the disk is read" 'Names of today, .*' status 1

search_for 'final march'
check "words are found in any order" '2 of .*' status 0
check "the rows are in the order of the paths" 'Final bill march.txt.*' row 0
check "each is there once" 'march invoice final.docx.*' row 1
search_for '"march invoice"'
check "in quotes the text counts as it stands" '1 of .*' status 0
search_for '"invoice march"'
check "in quotes words stay in their order" '0 of .*In quotes blanks count.*' status 0
search_for 'docx final invoice ma'
check "rows are held to a fourth word" '1 of .*' status 0
search_for 'docx final invoice mb'
check "a fourth word that is not there finds nothing" \
    '0 of .*All of these words have to be in the name.*' status 0

search_for 'one two'
check "a count of all orders is told when it is known" \
    'The first 1000 of 1400\. Type more to narrow them down\.' status 0
check "the first rows of all orders are shown" 'one-0000-two.*' row 0
check "a thousand of them" 1000 count
search_for 'one two 01'
check "a count below the limit is exact" '[0-9]+ of .* ms' status 0

search_for 'überstunden'
check "a letter beyond A to Z is found in both cases" '2 of .*' status 0
search_for 'ÜBERSTUNDEN'
check "and whichever case is typed" '2 of .*' status 0
click place_of $match_case
check "unless case matters" '0 of .*"Match case" is on\.' status 0
click place_of $match_case
search_for '*.doc'
check "a name with many such letters is there" 'Äöüäöü.doc.*' row 0
click place_of_row 0
keys ctrl+c
check "its path is copied" '.*Äöüäöü.doc' clipboard
keys ctrl+f ctrl+v
check "many such letters are found as words are usually written" \
    '1 of .*\. Not every upper and lower case was tried\.' status 0

search_for "docs\\*.txt"
check "a pattern of a path finds what is below a folder with such an end" '2 of .*' status 0
search_for "\"$disk\\my docs\\a.txt\""
check "a path pasted in quotes is found" '1 of .*' status 0
search_for "$disk\\my docs\\a.txt "
check "a path pasted with a blank is found" '1 of .*' status 0
search_for 'docs\*.tx'
check "an empty list tells what may help" '0 of .*end of the path.*' status 0

close_window a "the window closes"
finish
