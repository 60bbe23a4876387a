#!/usr/bin/env bash
# Makes what only the Unix side can make - names and links that no Windows program would - and runs
# the test on it.
set -euo pipefail

root=$(mktemp -d /tmp/ss.XXXXXX)
trap 'touch "$root/stop"; wait; rm -rf "$root"' EXIT

# Wine looks up every folder of a path anew at each call, so depth costs its square there; the
# native tests go deeper.
deep=$root/deep/$(printf 'd/%.0s' {1..300})
mkdir -p "$deep"
: >"${deep}bottom.txt"
mkdir "$root/odd" && cd "$root/odd"
touch ' leading' 'trailing ' ' both ' 'dot.' 'con' 'a:b' 'quo"te' 'star*' 'quest?' 'pi|pe' 'back\slash' \
    $'new\nline' 'ünïcödé' '漢字.txt' '😀.txt' "$(printf 'n%.0s' {1..255})" UPPER upper
mkdir ' folder ' 'folder.' 'in folder' && touch ' folder /in the blank' 'folder./in the dotted' 'in folder/y'
ln -s . loop
ln -s missing broken
ln -s ../odd up
ln -s /etc/passwd file_link
mkfifo pipe
mkdir -m 000 denied

mkdir "$root/changing" && cd "$root/changing"
(
    while [[ ! -e $root/stop ]]; do
        for i in {1..20}; do
            mkdir -p "m$i/a/b" && : >"m$i/a/b/f" && mv "m$i" "moved$i" && rm -rf "moved$i"
        done
    done
) >/dev/null 2>&1 &
touch still{1..50}

status=0
SS_TREE=Z:$root "$SS_WINE" "$1" || status=$?
chmod 700 "$root/odd/denied"
exit "$status"
