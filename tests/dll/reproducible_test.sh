#!/usr/bin/env bash
# Another build of the same sources, in another folder, gives the same bytes.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cp -r "$SS_SOURCE"/{CMakeLists.txt,CMakePresets.json,cmake,include,scripts,src} "$scratch"
cd "$scratch"
if ! {
    cmake --preset windows -DBUILD_TESTING=OFF -DSS_BUILD_EXAMPLES=OFF -DSS_BUILD_BENCHMARKS=OFF
    cmake --build --preset windows --parallel 1
} >log 2>&1; then
    cat log
    exit 1
fi
cmp build/windows/bin/system_search.dll "$SS_BIN/system_search.dll"
cmp build/windows/bin/system_search.dll.debug "$SS_BIN/system_search.dll.debug"
