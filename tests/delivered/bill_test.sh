#!/usr/bin/env bash
# The bill of materials names every file of what it speaks of, with its hashes, and is the same for the
# same files. The check that the package is held to as well refuses one that does not fit.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
export SOURCE_DATE_EPOCH=1234567890 LC_ALL=C.UTF-8
sbom=$SS_SOURCE/scripts/lib/sbom
check() { python3 "$SS_SOURCE/tests/delivered/package/check_bill.py" "$@"; }
fail() { echo "$1"; exit 1; }

mkdir -p tree/bin tree/doc
cp "$SS_BIN"/{system_search.dll,system-search.exe,system-search-window.exe} tree/bin
echo text >"tree/doc/with spaces é.md"

# A folder, of which one file is the bill itself.
"$sbom" --but doc/bill.json package=tree >bill.json
cp bill.json tree/doc
check tree/doc/bill.json tree
"$sbom" --but doc/bill.json package=tree | cmp - bill.json

refuses() {  # WHAT COMMAND...
    local what=$1
    shift
    rm -rf changed
    cp -r tree changed
    (cd changed && "$@")
    if check changed/doc/bill.json changed >log 2>&1; then fail "not noticed: $what"; fi
}
refuses "a changed byte" sh -c 'echo >>bin/system-search.exe'
refuses "a file more" touch more
refuses "a file less" rm bin/system-search.exe
refuses "a part not told" sed -i 's/"STATIC_LINK"/"CONTAINS"/' doc/bill.json
refuses "a name twice" sed -i 's/SPDXRef-File-2/SPDXRef-File-1/' doc/bill.json

# Archives of each kind.
mkdir archives
cmake -E tar cf archives/one.zip --format=zip tree
cp archives/one.zip archives/two.nupkg
cmake -E tar czf archives/three.tgz tree
"$sbom" archives/* >bill.json
check bill.json archives/*
echo >>tree/doc/bill.json
cmake -E tar cf archives/one.zip --format=zip tree
if check bill.json archives/* >log 2>&1; then fail "not noticed: another archive"; fi
