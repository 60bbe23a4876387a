#!/usr/bin/env bash
# Functions for tests that drive the real program as a person would: a screen of its own, a window
# manager, the system that runs the program, and a probe that looks at its window. To be sourced;
# everything is taken down when the script ends. A script says what it expects with `check`, and
# ends with `finish`.
set -euo pipefail
export LC_ALL=C.UTF-8 TZ=JST-9
# shellcheck disable=SC2034  # for the tests
box=1001 list=1002 bar=1003 scope=1004 kind=1005 match_case=1006 whole_path=1007 folder_button=1008

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
program=$SS_BIN/system-search-window.exe
export WINEPREFIX=${SS_WINDOW_PREFIX:-$SS_BIN/../wine_window}
scratch=$(mktemp -d "${SS_WINDOW_SCRATCH:-/tmp}/ss-window.XXXXXX")
gate=$scratch/gate
failures=0
checks=0
children=()

stop_server() {
    local server=/usr/lib/wine/wineserver
    [[ -x $server ]] || server=/usr/lib/wine/wineserver64
    [[ -x $server ]] || server=$(command -v wineserver)
    "$server" "$1" 2>/dev/null || true  # this prefix's own
}

take_down() {
    set +e
    [[ -z ${SS_KEEP_PICTURE:-} ]] || import -window root "$SS_KEEP_PICTURE" 2>/dev/null
    stop_server -k
    stop_server -w
    [[ ${#children[@]} -eq 0 ]] || kill "${children[@]}" 2>/dev/null
    wait 2>/dev/null
    chmod -R u+rwx "$scratch"
    rm -rf "$scratch"
}
trap take_down EXIT

# A screen with a window manager. Xvfb itself takes a number that is free.
start_screen() {
    local number
    : >"$scratch/display"
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset 3>>"$scratch/display" \
        2>"$scratch/xvfb.log" &
    children+=("$!")
    until IFS= read -r number 2>/dev/null <"$scratch/display"; do  # the whole line
        kill -0 "${children[0]}" || { cat "$scratch/xvfb.log" >&2; exit 1; }
        sleep 0.02
    done
    export DISPLAY=:$number SS_DISPLAY=:$number
    # As on any desktop. Without it, Wine looks for a file instead at each font that is chosen.
    xprop -root -f RESOURCE_MANAGER 8s -set RESOURCE_MANAGER $'Xft.dpi:\t96\n'
    openbox >"$scratch/openbox.log" 2>&1 &
    children+=("$!")
    # It has taken over the screen when it says so on the root window.
    until xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; do
        kill -0 "${children[1]}" || { cat "$scratch/openbox.log" >&2; exit 1; }
        sleep 0.02
    done
}

# slow MS: the disk below $scratch/disk is slow from now on, so many milliseconds for each folder.
slow() { echo "$1" >"$scratch/gate.new" && mv "$scratch/gate.new" "$gate"; }
hold() { slow 600000; }  # only with a window that is not about to close
quick() { rm -f "$gate"; }

start_session() {
    start_screen
    stop_server -k  # one of an earlier run would show its windows on a screen that is gone
    stop_server -w
    gcc -shared -fPIC -O1 -o "$scratch/slow_disk.so" "$here/../slow_disk.c" -ldl
    mkdir -p "$scratch/disk"
    "$SS_WINE"
    coproc PROBE {
        LD_PRELOAD=$scratch/slow_disk.so SS_SLOW_TREE=$scratch/disk SS_SLOW_GATE=$gate \
            "$SS_WINE" "$SS_BIN/window_probe.exe" 2>"$scratch/probe.log"
    }
}

# probe COMMAND...: leaves the answer in $answer, its lines joined; fails when the probe says no.
probe() {
    local verdict lines line
    printf '%s\n' "$*" >&"${PROBE[1]}"
    IFS=' ' read -r verdict lines <&"${PROBE[0]}" || { echo "The probe is gone." >&2; exit 1; }
    answer=
    for ((; lines > 0; --lines)); do
        IFS= read -r line <&"${PROBE[0]}"
        answer+=$line$'\n'
    done
    answer=${answer%$'\n'}
    [[ $verdict == yes ]]
}

fail() {
    failures=$((failures + 1))
    printf 'FAILED: %s\n' "$1"
    shift
    [[ $# -eq 0 ]] || printf '    %s\n' "$@"
}

# check NAME PATTERN COMMAND...: waits until the probe's answer matches the whole pattern.
check() {
    local name=$1 pattern=${2:-()}
    pattern=${pattern// /\\s}
    shift 2
    checks=$((checks + 1))
    [[ -z ${SS_TIMES:-} ]] || printf '%5d s  %s\n' "$SECONDS" "$name"
    probe until "$pattern" "$@" || fail "$name" "waited for: $pattern" "$* says: $answer"
}

# same NAME EXPECTED ACTUAL
same() {
    checks=$((checks + 1))
    [[ $2 == "$3" ]] || fail "$1" "expected: $2" "but got:  $3"
}

# A state that everything after it needs: the script ends without it.
need() {
    local before=$failures
    check "$@"
    [[ $failures -eq $before ]] || finish
}

# open NAME [ARGUMENT...]: starts the program and waits until it can be typed into. Without
# --settings it keeps its things in $scratch/NAME.
open() {
    local name=$1
    shift
    [[ " $* " == *" --settings "* ]] || set -- "$@" --settings "$(windows_path "$scratch/$name")"
    probe start "$name" "$(windows_path "$program") $*" || fail "$name starts" "$answer"
    need "$name shows its window" shown state
    come_forward "$name"
    need "the box of $name has the focus" $box focus
}

# close_window NAME CHECK: by the window's own button, with the exit code 0.
close_window() {
    probe use "$1"
    probe close || fail "$2" "$answer"
    check "$2" 'ended 0' state
    probe forget || true
}

# come_forward NAME: keys go to that program's window from now on. Only when the screen says so,
# too: the program believes to have the keyboard a little earlier.
come_forward() {
    local number limit=$((SECONDS + 60))
    probe use "$1"
    probe x_window
    number=$answer
    until [[ $(xdotool getwindowfocus 2>/dev/null) == "$number" ]] && probe focus &&
        [[ $answer != 0 ]]; do
        ((SECONDS < limit)) || { fail "the window of $1 comes forward"; return; }
        xdotool windowactivate "$number" 2>/dev/null
        sleep 0.02
    done
}

# answer_box KEY [TITLE]: presses it in a box that the program has opened, once the screen gives it
# the keys. A window manager does not give them to every new window by itself.
answer_box() {
    local title=${2:-System Search} limit=$((SECONDS + 60))
    until [[ $(xdotool getwindowfocus getwindowname 2>/dev/null) == "$title" ]]; do
        if ((SECONDS > limit)); then
            fail "a box gets the keyboard" "box:   $title" \
                "focus: $(xdotool getwindowfocus getwindowname 2>&1)"
            return
        fi
        xdotool search --onlyvisible --name "^$title\$" windowactivate 2>/dev/null || true
        sleep 0.02
    done
    keys "$1"
}

windows_path() { printf 'Z:%s' "${1//\//\\}"; }

keys() { xdotool key --clearmodifiers "$@"; }
type_text() { xdotool type --delay "${key_delay_ms:-1}" -- "$1"; }
# Goes to the box, wherever the keyboard is, and types another text there. The answer to a part of
# it may come first, and each answer to a new text ends the selection: where a test goes on with
# the mouse or the probe, the text is one of which only the last letter finds anything.
search_for() {
    keys ctrl+f
    if [[ -n $1 ]]; then type_text "$1"; else keys BackSpace; fi
}

# click PLACE_COMMAND...: in the middle of what the probe names, with $button if it is set. Two
# clicks that shall not be a double one have different values of $aside; $count are as fast as one.
click() {
    local x y width height
    probe "$@" || { fail "click $*" "$answer"; return; }
    read -r x y width height <<<"$answer"
    xdotool mousemove $((x + width / 2 + ${aside:-0})) $((y + height / 2)) \
        click --repeat "${count:-1}" --delay 20 "${button:-1}"
}

# The program that opens documents of the kind .sstest is the probe, which notes in $record what it
# has been given.
documents_open_in_probe() {
    local class='HKLM\Software\Classes'
    record=$scratch/opened
    "$SS_WINE" reg add "$class\\.sstest" /ve /d SystemSearchTest /f >"$scratch/reg.log"
    "$SS_WINE" reg add "$class\\SystemSearchTest\\shell\\open\\command" /ve /f /d \
        "\"$(windows_path "$SS_BIN/window_probe.exe")\" --opened \"$(windows_path "$record")\" \"%1\"" \
        >>"$scratch/reg.log"
}

nothing_opened() {
    checks=$((checks + 1))
    [[ ! -e $record ]] || fail "$1" "opened: $(cat "$record")"
}

finish() {
    if [[ $failures -gt 0 ]]; then
        echo "$failures of $checks checks failed."
        exit 1
    fi
    echo "All $checks checks passed."
    exit 0
}
