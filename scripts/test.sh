#!/bin/bash
# Builds and runs every test lane of libVemlo, installing what it needs on
# Debian 12 (safe to run again), and ends with one line "N passed, M failed"
# over all lanes.
#   format  : every C++ file in the committed .clang-format style
#   host    : GCC, Debug, AddressSanitizer + UndefinedBehaviorSanitizer; the
#             whole suite, the amd64 Debian packages, the System V check
#   fuzz    : clang, libFuzzer harnesses with ASan + UBSan, each for a bounded time
#   tsan    : GCC, Debug, ThreadSanitizer, the tests labelled "threads" (locks,
#             threads, the reaper, time, logging, events, the state machine)
#   arm     : cross build for arm-linux-gnueabihf with the devices' string ABI
#             (VEMLO_LEGACY_STRING_ABI), run under qemu-arm; the armhf packages;
#             then the footprint report (stripped library at most 600 KB)
#   system  : the arm build's tests on Debian's 32-bit ARM kernel in
#             qemu-system-arm, with the clock past 2038 and through power cuts
#             (scripts/system-lane.sh)
#   coverage: GCC with --coverage, the suite, then gcovr over src/: prints
#             "coverage: lines L%, functions F%, branches B%" and fails below
#             the floor in scripts/coverage-floor.txt
# VEMLO_LANES="format host fuzz tsan arm system coverage" picks lanes; VEMLO_JOBS sets
# the parallelism.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/deps.sh"
jobs=${VEMLO_JOBS:-$(nproc)}
lanes=${VEMLO_LANES:-format host fuzz tsan arm system coverage}
out=$root/build
total_passed=0
total_failed=0
start=$(date +%s)

vemlo_need_packages "${VEMLO_BUILD_PACKAGES[@]}" "${VEMLO_TEST_PACKAGES[@]}" || {
    echo "cannot install the build and test packages"; echo "0 passed, 1 failed"; exit 1; }

# run_ctest LANE BUILD_DIR [ctest args...]: runs the lane's tests and adds
# its counts to the totals.
run_ctest() {
    local lane=$1 dir=$2
    shift 2
    local log=$dir/ctest.log
    (cd "$dir" && ctest --output-on-failure -j "$jobs" --timeout 600 "$@") 2>&1 | tee "$log"
    local line
    line=$(grep -E '^[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+' "$log" | tail -n 1)
    if [ -z "$line" ]; then
        echo "$lane lane: no test summary"
        total_failed=$((total_failed + 1))
        return
    fi
    local failed all
    failed=$(echo "$line" | sed -E 's/.* ([0-9]+) tests? failed out of ([0-9]+).*/\1/')
    all=$(echo "$line" | sed -E 's/.* failed out of ([0-9]+).*/\1/')
    echo "$lane lane: $((all - failed)) passed, $failed failed"
    total_passed=$((total_passed + all - failed))
    total_failed=$((total_failed + failed))
}

# build_lane LANE BUILD_DIR [cmake args...]: configures and builds; a
# failure counts as one failed test of the lane.
build_lane() {
    local lane=$1 dir=$2
    shift 2
    echo "=== $lane lane: configure and build"
    if ! cmake -S "$root" -B "$dir" "$@" > "$dir.configure.log" 2>&1; then
        cat "$dir.configure.log"
        echo "$lane lane: configure failed"
        total_failed=$((total_failed + 1))
        return 1
    fi
    if ! cmake --build "$dir" -j "$jobs" > "$dir.build.log" 2>&1; then
        grep -E -B2 -A8 'error|Error' "$dir.build.log" | head -n 80
        echo "$lane lane: build failed"
        total_failed=$((total_failed + 1))
        return 1
    fi
    grep -E 'warning:' "$dir.build.log" | sort -u | head -n 40 || true
}

mkdir -p "$out"
for lane in $lanes; do
    case $lane in
    format)
        # Every C++ file of the project in the committed .clang-format style.
        if ! vemlo_need_packages "${VEMLO_FORMAT_PACKAGES[@]}"; then
            echo "format lane: cannot install clang-format"
            total_failed=$((total_failed + 1))
            continue
        fi
        echo "=== format lane: clang-format over the C++ sources"
        unformatted=0
        while IFS= read -r -d '' file; do
            if ! clang-format --dry-run --Werror "$file" > /dev/null 2>&1; then
                echo "not formatted: ${file#"$root"/}"
                unformatted=$((unformatted + 1))
            fi
        done < <(find "$root" \( -path "$root/build" -o -path "$root/.git" \) -prune -o \
                     -type f \( -name '*.cpp' -o -name '*.h' \) -print0 | sort -z)
        if [ "$unformatted" -eq 0 ]; then
            echo "format lane: 1 passed, 0 failed"
            total_passed=$((total_passed + 1))
        else
            echo "format lane: 0 passed, 1 failed (not formatted: $unformatted; run clang-format -i on them)"
            total_failed=$((total_failed + 1))
        fi
        ;;
    host)
        if build_lane host "$out/host" -DCMAKE_BUILD_TYPE=Debug -DVEMLO_SANITIZE=address,undefined; then
            echo "=== host lane: tests"
            ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
                run_ctest host "$out/host"
        fi
        ;;
    fuzz)
        if ! vemlo_need_packages "${VEMLO_FUZZ_PACKAGES[@]}"; then
            echo "fuzz lane: cannot install clang"
            total_failed=$((total_failed + 1))
            continue
        fi
        if build_lane fuzz "$out/fuzz" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ \
            -DBUILD_TESTING=OFF -DVEMLO_BUILD_EXAMPLES=OFF -DVEMLO_FUZZ=ON \
            -DVEMLO_SANITIZE=address,undefined; then
            echo "=== fuzz lane: harnesses"
            run_ctest fuzz "$out/fuzz"
        fi
        ;;
    tsan)
        if build_lane tsan "$out/tsan" -DCMAKE_BUILD_TYPE=Debug -DVEMLO_SANITIZE=thread; then
            echo "=== tsan lane: tests labelled threads"
            TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
                run_ctest tsan "$out/tsan" -L threads
        fi
        ;;
    arm)
        if ! vemlo_need_packages "${VEMLO_ARM_PACKAGES[@]}"; then
            echo "arm lane: cannot install the cross toolchain"
            total_failed=$((total_failed + 1))
            continue
        fi
        if ! vemlo_armhf_sysroot "$out/arm-sysroot"; then
            echo "arm lane: SKIPPED (armhf packages ${VEMLO_ARMHF_LIBRARIES[*]} cannot be had)"
            continue
        fi
        if build_lane arm "$out/arm" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
            -DCMAKE_TOOLCHAIN_FILE="$root/cmake/arm-linux-gnueabihf.cmake" \
            -DVEMLO_ARM_SYSROOT="$out/arm-sysroot" -DVEMLO_LEGACY_STRING_ABI=ON; then
            echo "=== arm lane: tests under qemu-arm"
            run_ctest arm "$out/arm"
            echo "=== arm lane: footprint"
            if ! bash "$root/scripts/footprint.sh" "$out/arm"; then
                echo "arm lane: footprint over its limit or not measured"
                total_failed=$((total_failed + 1))
            fi
        fi
        ;;
    system)
        # The arm lane's build (made here when that lane has not run) on a
        # 32-bit ARM kernel in qemu-system-arm: scripts/system-lane.sh.
        if ! vemlo_need_packages "${VEMLO_ARM_PACKAGES[@]}" || ! vemlo_armhf_sysroot "$out/arm-sysroot"; then
            echo "system lane: SKIPPED (no cross toolchain or armhf libraries ${VEMLO_ARMHF_LIBRARIES[*]})"
            continue
        fi
        if build_lane system "$out/arm" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
            -DCMAKE_TOOLCHAIN_FILE="$root/cmake/arm-linux-gnueabihf.cmake" \
            -DVEMLO_ARM_SYSROOT="$out/arm-sysroot" -DVEMLO_LEGACY_STRING_ABI=ON; then
            bash "$root/scripts/system-lane.sh" "$out/arm" "$out/system" 2>&1 | tee "$out/system.log"
            line=$(grep -E '^system lane: [0-9]+ passed, [0-9]+ failed' "$out/system.log" | tail -n 1)
            if [ -n "$line" ]; then
                total_passed=$((total_passed + $(echo "$line" | sed -E 's/.*: ([0-9]+) passed.*/\1/')))
                total_failed=$((total_failed + $(echo "$line" | sed -E 's/.* ([0-9]+) failed.*/\1/')))
            elif ! grep -q '^system lane: SKIPPED' "$out/system.log"; then
                echo "system lane: no summary"
                total_failed=$((total_failed + 1))
            fi
        fi
        ;;
    coverage)
        if ! vemlo_need_packages "${VEMLO_COVERAGE_PACKAGES[@]}"; then
            echo "coverage lane: cannot install gcovr"
            total_failed=$((total_failed + 1))
            continue
        fi
        if build_lane coverage "$out/coverage" -DCMAKE_BUILD_TYPE=Debug -DVEMLO_COVERAGE=ON; then
            find "$out/coverage" -name '*.gcda' -delete
            echo "=== coverage lane: tests (not the package, docs and soak runs: they use builds of their own)"
            run_ctest coverage "$out/coverage" -E '^(package|docs|soak)\.'
            echo "=== coverage lane: report"
            bash "$root/scripts/coverage.sh" "$out/coverage" || total_failed=$((total_failed + 1))
        fi
        ;;
    *) echo "unknown lane: $lane"; total_failed=$((total_failed + 1)) ;;
    esac
done

echo "test command wall time: $(( $(date +%s) - start )) s"
echo "$total_passed passed, $total_failed failed"
[ "$total_failed" -eq 0 ] && [ "$total_passed" -gt 0 ]
