#!/usr/bin/env bash
# How long the user of system-search-window waits, with 1,000,000 names: from a key to the painted
# list, from the start to the window, from closing it in the midst of a build to its end. The program
# is driven under Wine on a screen of its own, like in its tests, and takes the first two times
# itself.
#
# Every name belongs to a real file, because what is asked of the disk for each result is a part of
# the time: 100,000 files that ten links show ten times. The cache is written by hand, for a folder
# that is then gone, so that the names stay as they are; the disk is read anew only where this says so.
#   window_bench.sh [STARTS]
set -euo pipefail
starts=${1:-9}

export SS_BIN=$PWD/build/windows/bin SS_WINE=$PWD/scripts/wine
export SS_WINDOW_PREFIX=$PWD/build/bench/wine SS_WINDOW_SCRATCH=$PWD/build/bench
mkdir -p build/bench
# shellcheck source=tests/apps/window/session.sh
source tests/apps/window/session.sh
tool() { python3 benchmarks/windows/window_bench.py "$@"; }

echo "making 100,000 files" >&2
mkdir "$scratch/files" "$scratch/names"
tool files "$scratch/files"
for ((i = 0; i < 10; ++i)); do ln -s "$scratch/files" "$scratch/names/copy-$i"; done
start_session
for ((i = 0; i < 200; ++i)); do
    mkdir "$scratch/disk/folder-$i"
    touch "$scratch/disk/folder-$i/item-$i-"{00..19}.txt
done
disk=$(windows_path "$scratch/disk")
settings=$(windows_path "$scratch/settings")
measured=$scratch/measured.txt

# begin: the program, once more. Its cache has the million names, and no reading has replaced them.
cached() { cp "$scratch/million" "$cache"; }
begin() {
    probe start window \
        "$(windows_path "$program") --scope $disk --settings $settings --measure $(windows_path "$measured")"
    need "the window shows" shown state
}
end() {
    probe close
    need "the window ends" 'ended 0' state
    probe forget
}
closing_time() {
    probe closing_time || { echo "The window does not close." >&2; exit 1; }
    closing+=("$answer")
    probe forget
}

# The program knows best how its cache file is called.
begin
need "the disk is read" 'Names of today, [^.]*' status 1
end
cache=$(find "$scratch/settings" -name '*.index')
tool cache "$scratch/million" "${disk//\\//}" "Z:$scratch/names" 10

# type_texts NAME: types each of the texts, the next letter as soon as the list shows the answer to
# the last one, and goes on to the next text when the thousand results are there.
texts=(e report 'notes-data' 'html-util7' 'report-test31415' '*.png' '*.h??l' qzxw v1 'share-doc1*'
    'names\copy-7' 'copy-3\test' README)
type_texts() {
    local text at typed=0
    for text in "${texts[@]}"; do
        keys ctrl+f
        for ((at = 0; at < ${#text}; ++at)); do
            type_text "${text:at:1}"
            typed=$((typed + 1))
            need "a key is answered" "$typed" lines_with key "$(windows_path "$measured")"
        done
        probe count
        [[ $answer == 0 ]] || need "the thousand are there" '[^\t]+\t.*' row $((answer - 1))
    done
    mv "$measured" "$measured.$1"
}

printf '%-44s %4s %8s %8s %8s %6s\n' "milliseconds" times median "95 of 100" most aim
mv "$scratch/disk" "$scratch/away"
cached
begin
come_forward window
need "the million is loaded" 'Names of .*\. Not read anew: .*' status 1
type_texts rest
end
printf '%s\n' "${texts[@]}" | tool keys "from a key to the list" "$measured.rest"

mv "$scratch/away" "$scratch/disk"
slow 20
begin
come_forward window
need "the million is loaded" 'Names of .*\. Reading the disk: .*' status 1
type_texts reading
closing=()
closing_time
printf '%s\n' "${texts[@]}" | tool keys "from a key to the list, the disk being read" "$measured.reading"

windows=()
for ((i = 1; i < starts; ++i)); do
    begin
    need "the disk is read anew" 'Names of .*\. Reading the disk: [1-9].*' status 1
    closing_time
    windows+=("$(sed -n 's/^window \([0-9.]*\) ms.*/\1/p' "$measured")")
done
tool times "from the start to the window" 300 "${windows[@]}"
tool times "closing while a slow disk is read anew" 200 "${closing[@]}"
closing=()
for ((i = 0; i < starts; ++i)); do
    begin
    closing_time
done
tool times "closing while the million is loaded" 200 "${closing[@]}"
closing=()
for ((i = 0; i < starts; ++i)); do
    rm -f "$cache"
    begin
    need "the disk is read" 'Reading the disk: [1-9].*' status 1
    closing_time
done
tool times "closing while a slow disk is read first" 200 "${closing[@]}"
[[ $failures -eq 0 ]]
