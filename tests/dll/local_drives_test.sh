#!/usr/bin/env bash
# Gives a Wine prefix of its own one drive of each type, and runs the test there. Drive Z:, which
# would show the whole machine, is taken away: the program is reached by its Unix path.
set -euo pipefail

export WINEPREFIX=$SS_BIN/../wine_drives
rm -rf "$WINEPREFIX"
stop_server() {
    local server=/usr/lib/wine/wineserver
    [[ -x $server ]] || server=/usr/lib/wine/wineserver64
    [[ -x $server ]] || server=$(command -v wineserver)
    "$server" -k || true  # this prefix's own
    "$server" -w
}
trap 'stop_server; rm -rf "$WINEPREFIX"' EXIT

"$SS_WINE"  # creates the prefix
declare -A types=([c]=hd [e]=floppy [f]=hd [n]=network [o]=cdrom [r]=ramdisk)
for letter in "${!types[@]}"; do
    "$SS_WINE" reg add 'HKLM\Software\Wine\Drives' /v "$letter:" /d "${types[$letter]}" /f >/dev/null
done
stop_server  # the types are read when it starts

cd "$WINEPREFIX/dosdevices"
rm -f z: d: d::
for letter in e f n o r; do
    mkdir "$WINEPREFIX/drive_$letter"
    ln -s "../drive_$letter" "$letter:"
done
for letter in "${!types[@]}"; do touch "$WINEPREFIX/drive_$letter/on this drive.txt"; done

cd "$WINEPREFIX/drive_c"
SS_DRIVES_PREPARED=yes "$SS_WINE" "$@"
