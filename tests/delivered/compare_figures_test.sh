#!/usr/bin/env bash
# Which figures count as slower between two runs of the benchmarks.
set -euo pipefail

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=0

# run FILE NAME LEAST MEDIAN MOST...: a run's file, by way of the lines that the programs write
run() {
    local file=$1
    shift
    rm -rf "$scratch/lines"
    mkdir "$scratch/lines"
    while [[ $# -gt 0 ]]; do
        printf '{"figure": "%s", "unit": "ms", "least": %s, "median": %s, "most": %s}\n' "${@:1:4}"
        shift 4
    done >"$scratch/lines/some_bench.lines"
    "$SS_SOURCE/scripts/lib/compare-figures" join "$scratch/lines" "${file%.json}" >"$scratch/$file"
}

# expect CODE TEXT: how comparing old.json with new.json ends, and its last line
expect() {
    local code=0 output
    output=$("$SS_SOURCE/scripts/bench" --compare "$scratch/old.json" "$scratch/new.json") || code=$?
    if [[ $code != "$1" || ${output##*$'\n'} != "$2" ]]; then
        printf 'expected %s: %s\nbut was %s:\n%s\n' "$1" "$2" "$code" "$output"
        failed=1
    fi
    last=$output
}

run old.json search 10 11 12 walk 100 101 130
run new.json search 10 11 12 walk 100 101 130
expect 0 "2 figures: 0 slower, 0 faster, 2 the same within the noise."

# Twice the time is slower; the other one moved within its own times.
run new.json search 20 22 24 walk 100 125 130
expect 1 "2 figures: 1 slower, 0 faster, 1 the same within the noise."
[[ $last == *"+100.0 %  some_bench: search: 11 (10 to 12) -> 22 (20 to 24) ms"* ]] || {
    printf 'the slower figure is not told:\n%s\n' "$last"
    failed=1
}

# Above the old median with all its times, but among the old times.
run old.json search 10 11 12 walk 100 101 130
run new.json search 10 11 12 walk 110 120 125
expect 0 "2 figures: 0 slower, 0 faster, 2 the same within the noise."

# Beyond all old times, but with times of its own among the old ones.
run new.json search 10.5 14 15 walk 100 101 130
expect 0 "2 figures: 0 slower, 0 faster, 2 the same within the noise."

# Measured once: a twentieth.
run old.json size 100 100 100
run new.json size 104 104 104
expect 0 "1 figures: 0 slower, 0 faster, 1 the same within the noise."
run new.json size 106 106 106
expect 1 "1 figures: 1 slower, 0 faster, 0 the same within the noise."
run new.json size 90 90 90
expect 0 "1 figures: 0 slower, 1 faster, 0 the same within the noise."

# Nothing in common is no comparison.
run new.json other 1 1 1
expect 1 "0 figures: 0 slower, 0 faster, 0 the same within the noise."
exit $failed
