#!/usr/bin/env bash
# Gives listing_bench its folders, of 100,000 files and of as many children one in twelve of which
# is a folder. Made from the Unix side: under Wine each new file costs a look through the whole
# folder for the same name in other capitals.
#   listing_bench.sh PROGRAM
set -euo pipefail

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/files" "$folder/mixed"
echo "making two folders of 100,000 children" >&2
(cd "$folder/files" && seq -f "report-%06.0f.txt" 100000 | xargs touch)
(cd "$folder/mixed" && seq -f "report-%06.0f.txt" 91667 | xargs touch)
(cd "$folder/mixed" && seq -f "folder-%06.0f" 8333 | xargs mkdir)

scripts/wine "$1" "Z:${folder//\//\\}\\files" "Z:${folder//\//\\}\\mixed"
