#!/usr/bin/env bash
# Gives cache_test a folder in which nothing can be created, with an old cache and a scope in it.
set -euo pipefail
program=("$@")

folder=$(mktemp -d)
trap 'chmod 755 "$folder"; rm -rf "$folder"' EXIT
mkdir "$folder/scope"
export SS_READ_ONLY_FOLDER="Z:${folder//\//\\}"
scope="$SS_READ_ONLY_FOLDER\\scope"

integer() {
    local i
    for i in 0 8 16 24; do
        # shellcheck disable=SC2059  # the format is the byte
        printf "\\x$(printf %02x $((($1 >> i) & 255)))"
    done
}
{
    integer 16
    printf system-search-v1
    integer ${#scope}
    printf %s "$scope"
    integer 0 && integer 5 && integer 0
} >"$folder/index"
chmod 555 "$folder"

"$SS_WINE" "${program[@]}"
