#!/usr/bin/env bash
# The smallest host finds what is there, and says when nothing is.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

mkdir "$folder/deep"
touch "$folder/report.txt" "$folder/deep/My Report.txt" "$folder/other.txt"
minimal() { "$SS_WINE" "$SS_BIN/minimal.exe" "Z:$folder" "$@" | tr -d '\r'; }

diff -u <(printf '%s\n' "Z:$folder/deep/My Report.txt" "Z:$folder/report.txt") <(minimal report)
if minimal absent; then
    echo "found what is not there"
    exit 1
fi
complaint=$("$SS_WINE" "$SS_BIN/minimal.exe" relative 2>&1 || true)
diff -u <(echo "Choose an absolute folder path.") <(tr -d '\r' <<<"$complaint")
