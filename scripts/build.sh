#!/bin/bash
# Builds libVemlo (Release) and runs its main job, the on-device self-test
# (vemlo-selftest), which ends with "N passed, M failed".
# Installs what it needs on Debian 12; safe to run again.
#   scripts/build.sh [BUILD_DIR]        (default: build/release)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/deps.sh"
vemlo_need_packages "${VEMLO_BUILD_PACKAGES[@]}"

build=${1:-$root/build/release}
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF > /dev/null
cmake --build "$build" -j "$(nproc)"
echo "--- running vemlo-selftest"
"$build/vemlo-selftest"
