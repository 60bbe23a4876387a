#!/usr/bin/env bash
# A host may include the C header from any C or C++ standard, and the C++ face from C++17 on, with
# any warning an error.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# 20, 20 and 24 bytes, whatever the compiler.
cat >"$scratch/host.c" <<'C'
#include "system_search.h"
typedef char engine_status_size[sizeof(EngineStatus) == 20 ? 1 : -1];
typedef char query_status_size[sizeof(QueryStatus) == 20 ? 1 : -1];
typedef char metadata_size[sizeof(ResultMetadata) == 24 ? 1 : -1];
typedef char metadata_modified[offsetof(ResultMetadata, modified) == 8 ? 1 : -1];
SystemSearchEngine *make(void);
SystemSearchEngine *make(void) { return ss_create(); }
C
cp "$scratch/host.c" "$scratch/host.cpp"

cat >"$scratch/cpp_host.cpp" <<'CPP'
#include "system_search.hpp"
std::size_t count();
std::size_t count() {
    ss::Engine engine = ss::Engine::create();
    engine.start(std::string("C:/"), u8"C:/cache");
    std::size_t results = 0;
    const ss::Query query = engine.search("x", {ss::Kind::kFile, ss::Match::kPath | ss::Match::kCase});
    for (const ss::Result& result : query.results()) results += result.path.size();
    const ss::Query listing = ss::list_folder("C:/");
    return results + listing.results().size();
}
CPP

failed=0
compile() {
    "$@" -fsyntax-only -Wall -Wextra -Wpedantic -pedantic-errors -Werror \
        -I"$SS_SOURCE/include" || { echo "failed: $*"; failed=1; }
}
for standard in c89 c99 c11 c17; do
    for compiler in gcc clang-19 x86_64-w64-mingw32-gcc-posix; do
        compile "$compiler" -std=$standard "$scratch/host.c"
    done
done
for standard in c++98 c++03 c++11 c++14 c++17 c++20; do
    for compiler in g++ clang++-19 x86_64-w64-mingw32-g++-posix; do
        compile "$compiler" -std=$standard "$scratch/host.cpp"
    done
done
for standard in c++17 c++20 c++2b; do
    for compiler in g++ clang++-19 x86_64-w64-mingw32-g++-posix; do
        compile "$compiler" -std=$standard -Wshadow -Wconversion -Wsign-conversion \
            -Wold-style-cast "$scratch/cpp_host.cpp"
    done
done

# In a 32-bit program the records would fit and the calls would not.
if message=$(clang --target=i686-w64-mingw32 -ffreestanding -fsyntax-only -I"$SS_SOURCE/include" \
    -x c "$SS_SOURCE/include/system_search.h" 2>&1); then
    echo "a 32-bit program may include the header"
    failed=1
fi
grep -qF 'System Search is for 64-bit programs' <<<"$message" || { echo "$message"; failed=1; }
exit $failed
