#!/usr/bin/env bash
# The example in README.md is the one that the build compiles.
set -euo pipefail
example() { sed -n "/^\`\`\`c$/,/^\`\`\`$/ { /^\`\`\`/d; p }" "$SS_SOURCE/README.md"; }
diff -u "$SS_SOURCE/examples/minimal.c" <(example)
