#!/usr/bin/env bash
# Gives listing_test a folder with links and one that may not be read, as only the Unix side can.
set -euo pipefail

folder=$(mktemp -d)
trap 'chmod 755 "$folder/denied"; rm -rf "$folder"' EXIT
mkdir -p "$folder/links/folder" "$folder/denied"
: >"$folder/links/file"
: >"$folder/denied/hidden"
ln -s folder "$folder/links/folder link"
chmod 000 "$folder/denied"
export SS_LISTING_FOLDER="Z:${folder//\//\\}"

"$SS_WINE" "$@"
