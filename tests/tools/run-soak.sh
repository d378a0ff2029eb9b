#!/bin/sh
# run-soak.sh SOURCE_DIR WORK_DIR CMAKE CXX SECONDS
# Builds vemlo-soak and the library in Release in WORK_DIR and runs it for
# SECONDS after its warm-up; its exit status is the result. The instrumented
# build of the test lane is not used for this: AddressSanitizer keeps freed
# blocks in quarantine (256 MB by default) and its allocator and shadow
# memory are not what a device runs, so resident memory there grows for
# minutes whatever the library does.
set -eu
src=$1 work=$2 cmake=$3 cxx=$4 seconds=$5
mkdir -p "$work"
"$cmake" -S "$src" -B "$work" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$cxx" \
    -DBUILD_TESTING=OFF -DVEMLO_BUILD_EXAMPLES=OFF > "$work/build.log" 2>&1 &&
    "$cmake" --build "$work" -j 2 --target vemlo-soak >> "$work/build.log" 2>&1 || {
    tail -n 40 "$work/build.log"
    echo "run-soak: cannot build vemlo-soak"
    exit 1
}
# The library prints a line for every property file it loads: only the
# soak's own lines are shown.
status=0
"$work/vemlo-soak" --seconds "$seconds" > "$work/soak.out" || status=$?
grep '^soak:' "$work/soak.out" || true
exit $status
