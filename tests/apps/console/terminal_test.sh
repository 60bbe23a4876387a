#!/usr/bin/env bash
# system-search.exe on a terminal: live progress, the prompt, queries while the index is being made,
# and Ctrl+C everywhere. script(1) is the terminal; what is typed waits for what is shown.
set -euo pipefail
export LC_ALL=C.UTF-8 TERM=xterm

host=$SS_BIN/system-search.exe
scratch=$(mktemp -d "$SS_BIN/../terminal-XXXXXX")
scratch=$(realpath "$scratch")
trap 'rm -rf "$scratch"' EXIT
screen=$scratch/screen
failures=0
set -m  # background processes do not ignore Ctrl+C

fail() {
    failures=$((failures + 1))
    echo "FAILED: $1"
    if [[ -f $screen ]]; then tail -c 2000 "$screen" | cat -v; fi
}

# One folder is read at once. The other begins with enough to be shown, and then takes far longer in
# all than anything here waits for; but little for each of its folders, because Wine holds a lock
# meanwhile that every other question about a file needs.
few=$scratch/few
mkdir "$few"
touch "$few/needle-日本" "$few"/file{1..1000}
large=$scratch/large
mkdir -p "$large/quick" "$large/slow"/{1..2000}
touch "$large/quick"/file{1..2000}
echo 100 >"$scratch/gate"
gcc -shared -fPIC -O1 -o "$scratch/slow_disk.so" \
    "$(dirname "${BASH_SOURCE[0]}")/../slow_disk.c" -ldl

"$SS_WINE" "$host" --version >"$scratch/version"  # the server starts apart from the terminal

# on_terminal ARGUMENT...: starts the program; type TEXT sends keys; expect_end waits for its end.
on_terminal() {
    rm -f "$scratch/keys" "$screen"
    mkfifo "$scratch/keys"
    printf -v command '%q ' "$SS_WINE" "$host" "$@"
    script -qfec "stty cols 250 rows 50; $command" "$screen" <"$scratch/keys" >/dev/null 2>&1 &
    terminal=$!
    exec 7>"$scratch/keys"
}
on_slow_disk() {
    LD_PRELOAD=$scratch/slow_disk.so SS_SLOW_TREE=$large/slow SS_SLOW_GATE=$scratch/gate \
        on_terminal "$@"
}
type_keys() { printf '%b' "$1" >&7; }

# wait_for NAME PATTERN [FILE]
wait_for() {
    for ((i = 0; i < 600; ++i)); do
        ! grep -qaE "$2" "${3:-$screen}" 2>/dev/null || return 0
        sleep 0.05
    done
    fail "$1: no $2 within 30 s"
}

# expect_end NAME STATUS PROCESS
expect_end() {
    local status=0
    for ((i = 0; i < 600; ++i)); do
        kill -0 "$3" 2>/dev/null || break
        sleep 0.05
    done
    kill -9 "$3" 2>/dev/null || true
    wait "$3" || status=$?
    exec 7>&-
    [[ $status == "$2" ]] || fail "$1: exit status $status, expected $2"
}

on_slow_disk index "$large"
wait_for "index shows progress" '[1-9][0-9,]* entries, [0-9,]+ skipped, [0-9.]+ s, [0-9,]+ entries/s'
type_keys '\0003'
wait_for "Ctrl+C cancels" 'Cancelled after [0-9.]+ s: [0-9,]+ entries, [0-9,]+ skipped\.'
expect_end "Ctrl+C during index" 130 "$terminal"

on_terminal index "$few"
wait_for "index sums up" 'Indexed 1001 entries in [0-9.]+ s \([0-9,]+ entries/s\), 0 skipped\.'
expect_end "index" 0 "$terminal"

on_slow_disk search "$large" --limit 2
wait_for "the prompt is there while the index is made" '[1-9][0-9,]* entries, .*search>'
type_keys '*\r'
wait_for "a query is answered" '2 of [1-9][0-9,]* matches, [0-9.]+ ms'
wait_for "with a note that the index is not complete" \
    'Note: the index is not complete: it is still being built, [0-9,]+ entries so far\.'
type_keys '\0003'
expect_end "Ctrl+C at the prompt while the index is made" 130 "$terminal"

on_terminal search "$few" --limit 2
wait_for "the index is told before the prompt" 'Indexed 1001 entries in [0-9.]+ s'
type_keys 'FILE99?\r'
wait_for "a query on the whole index" '2 of 10 matches, [0-9.]+ ms'
type_keys 'needle\r'
wait_for "characters beyond the code page" 'few/needle-日本 +file +0 B'
type_keys '\0003'
expect_end "Ctrl+C at the prompt" 130 "$terminal"

on_terminal search "$few" needle
wait_for "one search on a terminal" '1 match, [0-9.]+ ms'
expect_end "one search" 0 "$terminal"

# Ctrl+C while the program waits for a pipe that stays open.
rm -f "$scratch/keys" "$screen"
mkfifo "$scratch/keys"
"$SS_WINE" "$host" search "$few" --now --paths <"$scratch/keys" >"$scratch/out" 2>"$scratch/err" &
host_process=$!
exec 7>"$scratch/keys"
for ((i = 0; i < 600; ++i)); do  # until the small index is there
    echo needle >&7
    sleep 0.05
    [[ ! -s $scratch/out ]] || break
done
kill -INT "$host_process"
expect_end "Ctrl+C while reading a pipe" 130 "$host_process"
[[ $(head -n 1 "$scratch/out") == "Z:$few/needle-日本" ]] || fail "the answer before Ctrl+C"

# A reader that has left is no reason to complain; a full disk is.
mkfifo "$scratch/pipe"
# shellcheck disable=SC2094  # the reading end is there only until the writing end is open
exec 8<>"$scratch/pipe" 9>"$scratch/pipe" 8>&-
status=0
"$SS_WINE" "$host" list "$few" --paths 2>"$scratch/err" </dev/null >&9 9>&- || status=$?
exec 9>&-
[[ $status == 2 && ! -s $scratch/err ]] || fail "no reader: $status $(cat "$scratch/err")"
status=0
"$SS_WINE" "$host" list "$few" --paths 2>"$scratch/err" </dev/null >/dev/full || status=$?
[[ $status == 2 && $(cat "$scratch/err") == "system-search: The output could not be written." ]] ||
    fail "full disk: $status $(cat "$scratch/err")"

if [[ $failures -gt 0 ]]; then
    echo "$failures checks failed."
    exit 1
fi
echo "All checks passed."
