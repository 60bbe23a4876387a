#!/usr/bin/env bash
# Runs system-search.exe as a person and as a script would, on small trees made here, and compares
# everything it prints. Milliseconds are replaced by "N ms", the tree's own path by TREE; the width
# of the table's first column, which that path decides, is not looked at.
set -euo pipefail
export LC_ALL=C.UTF-8
export TZ=JST-9  # nine hours east of UTC, so that local time cannot pass for UTC

host=$SS_BIN/system-search.exe
scratch=$(mktemp -d "$SS_BIN/../console-XXXXXX")
scratch=$(realpath "$scratch")
trap 'chmod -R u+rwx "$scratch"; rm -rf "$scratch"' EXIT
tree=$scratch/tree
failures=0

make_tree() {
    mkdir -p "$tree/Docs/deep" "$tree/empty" "$tree/été"
    printf '%1536s' '' >"$tree/Docs/Report.txt"
    printf 'x' >"$tree/Docs/deep/report-日本.md"
    printf 'abc' >"$tree/été/naïve.txt"
    : >"$tree/-dash"
    find "$tree" -exec touch -h -d '2024-05-01 05:34:56 UTC' {} +
}

# run ARGUMENT...: leaves $out, $err and $status. Standard input is passed on.
run() {
    status=0
    "$SS_WINE" "$host" "$@" >"$scratch/out" 2>"$scratch/err" || status=$?
    out=$(shown "$scratch/out")
    err=$(shown "$scratch/err")
}

# Command substitution drops NUL bytes and hides carriage returns; show both.
shown() {
    sed -e "s|Z:$tree|TREE|g" -e "s|$tree|TREE|g" -e "s|$scratch|SCRATCH|g" \
        -e 's/[0-9.,]* ms/N ms/g' -e 's/"milliseconds":[0-9.]*/"milliseconds":N/g' \
        -e 's/^Path  *Kind/Path  Kind/' -e 's/^\(.*[^ ]\)  *\(file\|folder\)  /\1  \2  /' \
        -e 's/in [0-9.]* s ([0-9,]* entries/in N s (N entries/' "$1" | tr '\0\r' '@^'
}

# expect NAME STATUS OUT ERR: compares with what the last run left.
expect() {
    if [[ $status != "$2" || $out != "$3" || $err != "$4" ]]; then
        failures=$((failures + 1))
        printf 'FAILED: %s\n--- expected: exit status %s\n%s\n--- on standard error:\n%s\n' "$@"
        printf -- '--- but got: exit status %s\n%s\n--- on standard error:\n%s\n\n' \
            "$status" "$out" "$err"
    fi
}

fail() {
    failures=$((failures + 1))
    printf 'FAILED: %s\n' "$1"
}

# Prints the path of result INDEX; CMake reads JSON strictly.
json_path() {
    cat >"$scratch/path.cmake" <<CMAKE
file(READ "$scratch/out" text)
string(JSON value GET "\${text}" results $1 path)
execute_process(COMMAND \${CMAKE_COMMAND} -E echo "\${value}")
CMAKE
    cmake -P "$scratch/path.cmake"
}

make_tree

run index "$tree" </dev/null
expect "index sums up" 0 "Indexed 8 entries in N s (N entries/s), 0 skipped." ""

run index "Z:$tree" --quiet </dev/null
expect "index --quiet says nothing" 0 "" ""

run index "$tree" --json </dev/null
expect "index --json is one object" 0 \
    '{"state":"ready","entries":8,"skipped":0,"limited":false,"from_cache":false,"milliseconds":N,"error":""}' ""

cd "$tree"
run index Docs </dev/null
expect "a folder may be relative" 0 "Indexed 3 entries in N s (N entries/s), 0 skipped." ""
run list ./Docs/../empty/ </dev/null
expect "an empty folder has nothing to find" 1 "No matches, N ms" ""
cd "$scratch"

run index "$tree/nowhere" </dev/null
expect "a missing folder is told" 2 "" \
    'system-search: Cannot index "TREE/nowhere": The selected folder is unavailable.'

run index "$tree/-dash" --json </dev/null
expect "a file is no folder" 2 \
    '{"state":"failed","entries":0,"skipped":0,"limited":false,"from_cache":false,"milliseconds":N,"error":"The selected folder is unavailable."}' \
    'system-search: Cannot index "TREE/-dash": The selected folder is unavailable.'

chmod 000 "$tree/empty"
run index "$tree" </dev/null
chmod 755 "$tree/empty"
expect "a denied folder is skipped" 0 "Indexed 8 entries in N s (N entries/s), 1 skipped." ""

cache=$scratch/caches/tree.idx
run index "$tree" --cache "$cache" </dev/null
expect "the first index is walked and saved" 0 \
    "Indexed 8 entries in N s (N entries/s), 0 skipped." ""
[[ -s $cache ]] || fail "no cache was written"
run index "$tree/" --cache "$cache" </dev/null
expect "the second comes from the cache" 0 \
    "Loaded 8 entries from the cache in N ms, 0 skipped when it was made." ""
: >"$tree/new.txt"
run search "$tree" new.txt --cache "$cache" --paths </dev/null
expect "the cache does not know what is new" 1 "" ""
run search "$tree" new.txt --cache "$cache" --rebuild --paths </dev/null
expect "--rebuild reads the disk" 0 "TREE/new.txt" ""
run search "$tree" new.txt --cache "$cache" --paths </dev/null
expect "--rebuild renews the cache" 0 "TREE/new.txt" ""
rm "$tree/new.txt"
find "$tree" -exec touch -h -d '2024-05-01 05:34:56 UTC' {} +

run index "$tree" --cache "$scratch/caches" </dev/null
expect "a cache that cannot be saved is trouble for index" 2 \
    "Indexed 8 entries in N s (N entries/s), 0 skipped." \
    "system-search: Index is usable, but its cache could not be saved. (SCRATCH/caches)"
run search "$tree" --paths --cache "$scratch/caches" report.txt </dev/null
expect "but not for search" 0 "TREE/Docs/Report.txt" \
    "system-search: Index is usable, but its cache could not be saved. (SCRATCH/caches)"

run search "$tree" report </dev/null
expect "search prints a table" 0 \
    "Path  Kind     Size  Modified
TREE/Docs/deep/report-日本.md  file      1 B  2024-05-01 14:34
TREE/Docs/Report.txt  file  1.5 KiB  2024-05-01 14:34
2 matches, N ms" ""

run search "$tree" report --limit 1 --paths </dev/null
expect "--limit keeps the first by path" 0 "TREE/Docs/deep/report-日本.md" ""

run search "$tree" '' -n 3 --quiet --json </dev/null
expect "an empty text matches everything" 0 \
    '{"text":"","matched":8,"count":3,"index_entries":8,"index_incomplete":false,"milliseconds":N,"results":[{"path":"TREE/-dash","kind":"file","size":0,"modified":1714541696},{"path":"TREE/Docs","kind":"folder","size":null,"modified":1714541696},{"path":"TREE/Docs/deep","kind":"folder","size":null,"modified":1714541696}]}' ""
[[ $(json_path 2) == "Z:$tree/Docs/deep" ]] || fail "JSON is not valid"

run search "$tree" naïve -0 </dev/null
expect "names beyond ASCII are found, -0 ends each with NUL" 0 "TREE/été/naïve.txt@" ""
run search "$tree" '*.TXT' -0 </dev/null
expect "-0 prints nothing else" 0 "TREE/Docs/Report.txt@TREE/été/naïve.txt@" ""

run search "$tree" report --case --paths </dev/null
expect "--case tells upper from lower" 0 "TREE/Docs/deep/report-日本.md" ""
run search "$tree" 'docs\deep' --whole-path --paths </dev/null
expect "--whole-path matches the path, and \\ is /" 0 "TREE/Docs/deep
TREE/Docs/deep/report-日本.md" ""
run search "$tree" deep/rep --paths </dev/null
expect "a text with / is explained" 1 "" \
    'Note: only with --whole-path can a text with "/" match.'
run search "$tree" d -td --paths </dev/null
expect "-t d finds folders" 0 "TREE/Docs
TREE/Docs/deep" ""
run search "$tree" e --kind=file --paths </dev/null
expect "--kind file finds files" 0 "TREE/Docs/deep/report-日本.md
TREE/Docs/Report.txt
TREE/été/naïve.txt" ""
run search "$tree" --paths -- -dash </dev/null
expect "-- lets a text begin with a dash" 0 "TREE/-dash" ""
run search "$tree" '*.xyz' </dev/null
expect "nothing found is status 1" 1 "No matches, N ms" ""

run search "$tree/nowhere" x </dev/null
expect "search in a missing folder" 2 "" \
    'system-search: Cannot index "TREE/nowhere": The selected folder is unavailable.'

# Lines of standard input. The carriage returns and the byte order mark are those of Windows tools.
run search "$tree" --paths < <(printf '\xEF\xBB\xBFReport\r\n\r\nnaïve\nnothing-has-this')
expect "each line is a query" 0 "TREE/Docs/deep/report-日本.md
TREE/Docs/Report.txt
TREE/été/naïve.txt" ""
run search "$tree" --json < <(printf 'naïve\nnothing\n')
expect "each line is a JSON object" 0 \
    '{"text":"naïve","matched":1,"count":1,"index_entries":8,"index_incomplete":false,"milliseconds":N,"results":[{"path":"TREE/été/naïve.txt","kind":"file","size":3,"modified":1714541696}]}
{"text":"nothing","matched":0,"count":0,"index_entries":8,"index_incomplete":false,"milliseconds":N,"results":[]}' ""
run search "$tree" < <(printf 'nothing\n')
expect "lines that find nothing" 1 "No matches, N ms" ""
run search "$tree" --paths < <(printf '\xFF\nnaïve\n')
expect "a line that is not text is told, the next is answered" 2 "TREE/été/naïve.txt" \
    "system-search: Line 1 is not UTF-8 text."
run search "$tree/nowhere" < <(printf 'x\n')
expect "lines without an index" 2 "" \
    'system-search: Cannot index "TREE/nowhere": The selected folder is unavailable.'
run search "$tree" </dev/null
expect "no lines, nothing found" 1 "" ""

run list "$tree/Docs" --limit 1 </dev/null
expect "list prints the same table" 0 "Path  Kind    Size  Modified
TREE/Docs/deep  folder     -  2024-05-01 14:34
1 of 2 matches, N ms" ""
run list "$tree" 'é*' --json </dev/null
expect "list --json" 0 \
    '{"text":"é*","matched":1,"count":1,"index_entries":4,"index_incomplete":false,"milliseconds":N,"results":[{"path":"TREE/été","kind":"folder","size":null,"modified":1714541696}]}' ""
run list "$tree" nothing </dev/null
expect "list without a match" 1 "No matches, N ms" ""
for bad in "$tree/nowhere" "$tree/-dash"; do
    run list "$bad" </dev/null
    expect "list of what is no folder" 2 "" \
        "system-search: Cannot list \"TREE${bad#"$tree"}\": it is missing, is not a folder, or may not be read."
done

run </dev/null
expect "no command" 2 "" "system-search: Say what to do: index, search or list; or try --help."
run search </dev/null
expect "no folder" 2 "" 'system-search: "search" needs a folder, or --all-drives.'
run list "$tree" '*.h' '*.c' </dev/null
expect "stars are not expanded" 2 "" \
    'system-search: There is one word too many: "*.c"; put a text with spaces in quotation marks.'
run --version </dev/null
[[ $out =~ ^system-search\ [0-9]+\.[0-9]+\.[0-9]+$ && $status == 0 ]] || fail "--version: $out"
for command in index search list; do
    run $command --help </dev/null
    [[ $out == "system-search $command - "* && -z $err && $status == 0 && $out != *^* ]] ||
        fail "$command --help"
done

# Paths beyond the classic 260 characters.
long=$tree/long
name=$(printf '%0100d' 0)
mkdir -p "$long/$name/$name/$name" && : >"$long/$name/$name/$name/leaf"
run search "$long" leaf --paths </dev/null
expect "a long path is found" 0 "TREE/long/$name/$name/$name/leaf" ""
run list "$long/$name/$name/$name" --paths </dev/null
expect "a long folder is listed" 0 "TREE/long/$name/$name/$name/leaf" ""

if [[ $failures -gt 0 ]]; then
    echo "$failures checks failed."
    exit 1
fi
echo "All checks passed."
