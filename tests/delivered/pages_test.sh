#!/usr/bin/env bash
# The reference is the header's, the guide's snippets are the compiled ones, and a header that leaves
# something undocumented is refused.
set -euo pipefail
"$SS_SOURCE/scripts/docs" --check

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=0
# The check has to refuse what the sed script makes of FILE.
refuses() {  # FILE SED-SCRIPT MESSAGE
    rm -rf "${scratch:?}"/*
    cp -r "$SS_SOURCE"/{benchmarks,docs,examples,include,scripts,tests,.github,*.md,LICENSE} "$scratch"
    sed -i "$2" "$scratch/$1"
    ! cmp -s "$SS_SOURCE/$1" "$scratch/$1" || { echo "nothing changed: $2"; failed=1; }
    if message=$("$scratch/scripts/docs" --check 2>&1); then
        echo "not refused: $2"
        failed=1
    fi
    grep -qF "$3" <<<"$message" || { echo "$2: not '$3' but '$message'"; failed=1; }
}
header=include/system_search.h
refuses $header 's,^#define SS_KIND_FOLDER 2u .*,#define SS_KIND_FOLDER 2u,' 'SS_KIND_FOLDER is not documented'
refuses $header 's,^    uint32_t matched;.*,    uint32_t matched;,' 'QueryStatus.matched is not documented'
refuses $header 's,^SS_API void ss_cancel.*,\n&,' 'ss_cancel is not documented'
refuses $header 's,^/\* Fills .out.. With a null query.*,int ss_more(void);\n&,' 'the reference lacks ss_more'
refuses $header 's,never blocks,may block,I' 'docs/reference.md is not up to date'
refuses examples/guide/describe_build.c 's,Nothing is,Nothing was,' 'docs/guide.md is not up to date'
refuses docs/guide.md 's,<!-- snippet: examples/guide/cache_path.c -->,,' 'cache_path.c'
refuses docs/testing.md 's,reference_search.hpp,plain_search.hpp,' 'names tests/rules/query/plain_search.hpp'
refuses docs/guide.md 's,](reference.md),](references.md),' 'links to references.md'
exit $failed
