#!/bin/sh
# run-package-test.sh SOURCE_DIR WORK_DIR PACKAGE_DIR CMAKE NM LEGACY_ABI [TOOLCHAIN_FILE ARM_SYSROOT]
# Builds libVemlo in Release for /usr (cross-compiled when a toolchain file is
# given), makes the Debian packages libvemlo1 and libvemlo-dev with cpack and
# copies them to PACKAGE_DIR. Then checks them as a device integrator would:
# their names, architecture, dependencies and contents; unpacks both with
# dpkg -x into a fresh folder; runs the packaged vemlo-selftest; checks that
# the library is stripped and exports only its public API; and builds and runs
# a separate application against the unpacked files twice, through
# find_package(Vemlo) and through pkg-config; natively also after an install to
# a prefix of its own, as the README shows. ARM programs run under qemu-arm.
set -eu
src=$1 work=$2 out=$3 cmake=$4 nm=$5 legacy=$6 toolchain=${7:-} sysroot=${8:-}
rm -rf "$work"
mkdir -p "$work" "$out"

cross_args=""
linkflags=""
run=""
cxx=${CXX:-c++}
arch=$(dpkg --print-architecture)
if [ -n "$toolchain" ]; then
    cross_args="-DCMAKE_TOOLCHAIN_FILE=$toolchain -DVEMLO_ARM_SYSROOT=$sysroot"
    cxx=arm-linux-gnueabihf-g++
    linkflags="-Wl,-rpath-link,$sysroot/usr/lib/arm-linux-gnueabihf"
    arch=armhf
fi

# shellcheck disable=SC2086
"$cmake" -S "$src" -B "$work/lib" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
    -DVEMLO_BUILD_EXAMPLES=OFF -DCMAKE_INSTALL_PREFIX=/usr -DVEMLO_LEGACY_STRING_ABI="$legacy" \
    $cross_args > "$work/lib.log"
"$cmake" --build "$work/lib" -j 2 >> "$work/lib.log"
(cd "$work/lib" && cpack -G DEB -B "$work/debs" >> "$work/lib.log")
rm -rf "$work/debs/_CPack_Packages"
for deb in "$work"/debs/*.deb; do
    echo "package: $(basename "$deb")"
    cp "$deb" "$out/"
done

# field DEB NAME: one control field of a package.
field() { dpkg-deb -f "$1" "$2"; }
runtime=$(ls "$work"/debs/libvemlo1_*.deb)
dev=$(ls "$work"/debs/libvemlo-dev_*.deb)
test "$(field "$runtime" Package)" = libvemlo1
test "$(field "$dev" Package)" = libvemlo-dev
test "$(field "$runtime" Architecture)" = "$arch"
test "$(field "$dev" Architecture)" = "$arch"
field "$runtime" Depends | grep -q 'libsqlite3-0'
field "$dev" Depends | grep -q "libvemlo1 (= $(field "$runtime" Version))"
rlist=$(dpkg-deb -c "$runtime")
dlist=$(dpkg-deb -c "$dev")
# The runtime package holds no header and no unversioned link; the
# development package no library file.
echo "$rlist" | grep -q 'usr/bin/vemlo-selftest$'
if echo "$rlist" | grep -E '\.h$|libVemlo\.so$|cmake|pkgconfig'; then
    echo "development files in the runtime package"; exit 1
fi
echo "$dlist" | grep -q 'usr/include/Vemlo/Vemlo.h$'
echo "$dlist" | grep -q 'libVemlo\.so -> '
echo "$dlist" | grep -q 'cmake/Vemlo/VemloConfig.cmake$'
echo "$dlist" | grep -q 'pkgconfig/vemlo.pc$'
if echo "$dlist" | grep -E '/libVemlo\.so\.[0-9.]+$|/bin/'; then
    echo "runtime files in the development package"; exit 1
fi

root=$work/root
dpkg -x "$runtime" "$root"
dpkg -x "$dev" "$root"
so=$(find "$root/usr/lib" -name 'libVemlo.so.*.*.*' | head -n 1)
libdir=$(dirname "$so")
soname=$(readelf -d "$so" | sed -n 's/.*SONAME.*\[\(.*\)\].*/\1/p')
echo "SONAME: $soname, stripped size: $(wc -c < "$so") bytes"
test "$soname" = "libVemlo.so.1"
if readelf -S "$so" | grep -q '\.symtab'; then
    echo "library is not stripped"
    exit 1
fi
# Only the public classes are exported: no file-local helper may show.
if "$nm" -DC --defined-only "$so" | grep -E 'anonymous namespace|convertCase|isBlank'; then
    echo "library exports internal symbols"
    exit 1
fi

if [ -n "$toolchain" ]; then
    run="qemu-arm -L /usr/arm-linux-gnueabihf -E LD_LIBRARY_PATH=$libdir:$sysroot/usr/lib/arm-linux-gnueabihf"
else
    run="env LD_LIBRARY_PATH=$libdir"
fi

# The packaged self-test finds the library beside it.
$run "$root/usr/bin/vemlo-selftest" | tail -n 1

# find_package(Vemlo CONFIG REQUIRED), pointed at the unpacked folder.
# shellcheck disable=SC2086
"$cmake" -S "$src/tests/install/consumer" -B "$work/consumer" -DCMAKE_BUILD_TYPE=Release \
    -DVemlo_DIR="$libdir/cmake/Vemlo" $cross_args > "$work/consumer.log"
"$cmake" --build "$work/consumer" >> "$work/consumer.log"
$run "$work/consumer/vemlo-consumer"

# pkg-config --cflags --libs vemlo, with the unpacked folder as sysroot.
pcpath=$libdir/pkgconfig
[ -z "$sysroot" ] || pcpath=$pcpath:$sysroot/usr/lib/arm-linux-gnueabihf/pkgconfig
flags=$(PKG_CONFIG_SYSROOT_DIR="$root" PKG_CONFIG_PATH="$pcpath" pkg-config --cflags --libs vemlo)
echo "pkg-config: $flags"
# shellcheck disable=SC2086
$cxx -o "$work/vemlo-consumer-pc" "$src/tests/install/consumer/main.cpp" $flags $linkflags
$run "$work/vemlo-consumer-pc"

# The README's own sequence: install to a prefix of one's choosing, then
# compile against it through pkg-config with nothing but PKG_CONFIG_PATH.
if [ -z "$toolchain" ]; then
    "$cmake" -S "$src" -B "$work/lib" -DCMAKE_INSTALL_PREFIX=/usr/local \
        -DCMAKE_INSTALL_LIBDIR=lib >> "$work/lib.log"
    "$cmake" --build "$work/lib" -j 2 >> "$work/lib.log"
    "$cmake" --install "$work/lib" --prefix "$work/opt/vemlo" >> "$work/lib.log"
    # shellcheck disable=SC2046
    $cxx -o "$work/vemlo-consumer-prefix" "$src/tests/install/consumer/main.cpp" \
        $(PKG_CONFIG_PATH="$work/opt/vemlo/lib/pkgconfig" pkg-config --cflags --libs vemlo)
    LD_LIBRARY_PATH="$work/opt/vemlo/lib" "$work/vemlo-consumer-prefix"
fi

rm -rf "$work"
echo "package test passed"
