#!/bin/bash
# Installs what libVemlo's build and tests need on Debian 12, skipping what is
# already there. Source it and call: vemlo_need_packages PKG...
# Runs apt-get update at most once per call, and only when something is missing.

# Root's commands run through sudo when the caller is not root.
vemlo_sudo() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# vemlo_missing PKG...: prints the packages that are not installed.
vemlo_missing() {
    local p
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q '^install ok installed$' || echo "$p"
    done
}

vemlo_need_packages() {
    local missing
    missing=$(vemlo_missing "$@")
    [ -z "$missing" ] && return 0
    echo "installing:" $missing
    # An index that fails to update (a foreign architecture's index out of
    # sync, say) does not stop set-up: the install is tried anyway, and only
    # packages that are still missing afterwards count as a failure.
    vemlo_sudo apt-get update -qq > /tmp/vemlo-apt-update.log 2>&1 ||
        echo "apt-get update reported a failure (trying the install anyway):" \
            "$(grep -E '^(E|W):' /tmp/vemlo-apt-update.log | head -n 3)"
    # shellcheck disable=SC2086
    DEBIAN_FRONTEND=noninteractive vemlo_sudo apt-get install -y -qq --no-install-recommends $missing \
        > /tmp/vemlo-apt.log 2>&1
    # shellcheck disable=SC2086
    missing=$(vemlo_missing $missing)
    [ -z "$missing" ] && return 0
    tail -n 20 /tmp/vemlo-apt.log
    echo "still missing:" $missing
    return 1
}

# What a host build needs.
VEMLO_BUILD_PACKAGES=(cmake make g++ pkg-config libsqlite3-dev)
# What the test lanes need on top.
VEMLO_TEST_PACKAGES=(googletest libgtest-dev libxml2-utils util-linux binutils python3 libssl-dev zlib1g-dev procps doxygen)
# The format lane: the formatter of the committed .clang-format.
VEMLO_FORMAT_PACKAGES=(clang-format)
# The fuzz lane: clang with libFuzzer and the sanitizer runtimes.
VEMLO_FUZZ_PACKAGES=(clang libclang-rt-14-dev)
# Benchmarks: Google Benchmark and the libraries measured beside libVemlo.
VEMLO_BENCH_PACKAGES=(libbenchmark-dev libtinyxml2-dev libpugixml-dev libssl-dev zlib1g-dev libcurl4-openssl-dev libpoco-dev)
# The coverage lane: gcovr reads GCC's counters.
VEMLO_COVERAGE_PACKAGES=(gcovr)
# The ARM lane: cross compiler and user-mode emulator.
VEMLO_ARM_PACKAGES=(g++-arm-linux-gnueabihf qemu-user)
# The system lane: the full-system emulator, mkfs.ext4 for its disk image and
# cpio for its initramfs; then what the guest runs (armhf, unpacked, with
# Debian's kernel, the package linux-image-armmp depends on): the runtime of
# the test programs, busybox, and Python for the tests' peers and drivers.
VEMLO_SYSTEM_PACKAGES=(qemu-system-arm e2fsprogs cpio)
VEMLO_SYSTEM_ARMHF_PACKAGES=(libc6 libstdc++6 libgcc-s1 libsqlite3-0 busybox-static
    python3-minimal python3.11-minimal libpython3.11-minimal libpython3.11-stdlib
    libexpat1 zlib1g libssl3 libbz2-1.0 libcrypt1 libffi8 liblzma5 libuuid1)
# armhf libraries that the library links on the target, unpacked into the
# lane's sysroot.
VEMLO_ARMHF_LIBRARIES=(libsqlite3-0 libsqlite3-dev)

# vemlo_armhf_sysroot DIR: fetches VEMLO_ARMHF_LIBRARIES with apt-get download
# and unpacks them with dpkg -x into DIR. Fails when they cannot be had.
vemlo_armhf_sysroot() {
    vemlo_armhf_unpack "$1" "${VEMLO_ARMHF_LIBRARIES[@]}"
}

# vemlo_armhf_unpack DIR PKG...: fetches the armhf packages PKG... with
# apt-get download and unpacks them with dpkg -x into DIR (kept, and not
# fetched again, while the list is the same). Fails when they cannot be had.
vemlo_armhf_unpack() {
    local dir=$1
    shift
    mkdir -p "$dir"
    [ $# -eq 0 ] && return 0
    if [ -f "$dir/.complete" ] && [ "$(cat "$dir/.complete")" = "$*" ]; then
        return 0
    fi
    if ! dpkg --print-foreign-architectures | grep -qx armhf; then
        vemlo_sudo dpkg --add-architecture armhf || return 1
    fi
    local debs
    debs=$(mktemp -d)
    local pkgs=()
    local p
    for p in "$@"; do pkgs+=("$p:armhf"); done
    if ! (cd "$debs" && apt-get download "${pkgs[@]}" > /dev/null 2>&1); then
        vemlo_sudo apt-get update -qq > /dev/null 2>&1
        (cd "$debs" && apt-get download "${pkgs[@]}" > /dev/null 2>&1) || { rm -rf "$debs"; return 1; }
    fi
    local deb
    for deb in "$debs"/*.deb; do dpkg -x "$deb" "$dir" || { rm -rf "$debs"; return 1; }; done
    rm -rf "$debs"
    echo "$*" > "$dir/.complete"
}
