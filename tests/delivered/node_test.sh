#!/usr/bin/env bash
# The package for Node: what it makes of the library's answers, what it says where there is no
# library, the functions as the header declares them, and the version as the project has it.
set -euo pipefail
bindings=$SS_SOURCE/bindings/node
node --test "$SS_SOURCE"/tests/delivered/node/*_test.js
python3 "$SS_SOURCE/tests/delivered/package/check_bindings.py" \
    node "$SS_SOURCE/include/system_search.h" "$bindings/lib/native.js"
version=$(sed -nE 's/^project\(.* VERSION ([0-9.]+).*/\1/p' "$SS_SOURCE/CMakeLists.txt")
grep -qF "\"version\": \"$version\"" "$bindings/package.json" ||
    { echo "bindings/node/package.json is not of version $version"; exit 1; }
