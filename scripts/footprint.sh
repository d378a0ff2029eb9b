#!/bin/bash
# footprint.sh ARM_BUILD_DIR: the device footprint of an arm lane build.
# Reports the stripped size of libVemlo.so as packaged in libvemlo1 (armhf),
# what dominates it (sections, then the largest symbols of the unstripped
# build), and the peak resident memory the device demo reached under qemu-arm
# in the lane's tests. Fails when the stripped library is over 600 KB.
set -uo pipefail
build=$1
limit=$((600 * 1024))
deb=$(ls "$build"/packages/libvemlo1_*_armhf.deb 2>/dev/null | head -n 1)
if [ -z "$deb" ]; then
    echo "footprint: no armhf package in $build/packages"
    exit 1
fi
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
dpkg -x "$deb" "$tmp"
so=$(find "$tmp" -name 'libVemlo.so.*.*.*' | head -n 1)
size=$(wc -c < "$so")
echo "footprint: stripped armhf $(basename "$so"): $size bytes ($((size / 1024)) KB, limit 600 KB)"
echo "footprint: largest sections:"
arm-linux-gnueabihf-size -A "$so" | awk 'NR > 2 && $1 != "Total" && $2 > 0 { print }' | sort -k2 -n -r | head -n 6 |
    awk '{ printf "  %-16s %8d\n", $1, $2 }'
unstripped=$(ls "$build"/libVemlo.so.*.*.* 2>/dev/null | head -n 1)
if [ -n "$unstripped" ]; then
    echo "footprint: largest symbols (code and tables):"
    arm-linux-gnueabihf-nm -C --size-sort --print-size "$unstripped" | tail -n 10 |
        while read -r _ size _ name; do printf '  %8d %s\n' "$((16#$size))" "$name"; done
fi
rss=$(grep -h 'device-demo peak RSS' "$build"/Testing/Temporary/LastTest*.log 2>/dev/null | tail -n 1)
echo "footprint: ${rss:-device-demo peak RSS: not measured (demo test did not run)} (qemu-arm process)"
[ "$size" -le "$limit" ]
