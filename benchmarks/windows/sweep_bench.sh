#!/usr/bin/env bash
# Gives sweep_bench the names that search_bench runs on.
#   sweep_bench.sh PROGRAM [TEXTS]
set -euo pipefail

names=$(mktemp)
trap 'rm -f "$names"' EXIT
build/native/bin/search_bench --names "$names"
scripts/wine "$1" "Z:${names//\//\\}" "${@:2}"
