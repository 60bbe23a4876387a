#!/usr/bin/env bash
# Makes what Windows programs cannot make under Wine, and runs the test on it: a folder that denies
# listing, and links. scripts/wine sees to it that the denial also holds for root.
set -euo pipefail

prepared=$SS_BIN/engine_test_prepared
clean() {
    [[ ! -d $prepared ]] || chmod -R u+rwx "$prepared"
    rm -rf "$prepared"
}
clean
trap clean EXIT

mkdir -p "$prepared"/denying/{denied,z} "$prepared"/linking "$prepared"/target
touch "$prepared"/denying/{a,denied/unseen,z/f} "$prepared"/linking/f "$prepared"/target/inside
ln -s ../target "$prepared/linking/link"
ln -s ../target/inside "$prepared/linking/file link"
chmod 000 "$prepared/denying/denied"

SS_PREPARED="Z:${prepared//\//\\}" "$SS_WINE" "$@"
