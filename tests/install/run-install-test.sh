#!/bin/sh
# run-install-test.sh SOURCE_DIR WORK_DIR CMAKE
# Builds libVemlo in Release without tests (so without GoogleTest), installs
# it into a staging prefix, then builds and runs a separate application
# against it twice: through find_package(Vemlo) and through pkg-config. Also
# checks that the library exports only its public API.
set -eu
src=$1 work=$2 cmake=$3
rm -rf "$work"
mkdir -p "$work"
stage=$work/stage

"$cmake" -S "$src" -B "$work/lib" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
    -DVEMLO_BUILD_EXAMPLES=OFF -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
    -DVEMLO_GTEST_SOURCE_DIR="$work/none" -DCMAKE_INSTALL_PREFIX="$stage" > "$work/lib.log"
"$cmake" --build "$work/lib" -j 2 >> "$work/lib.log"
"$cmake" --install "$work/lib" >> "$work/lib.log"

libdir=$(ls -d "$stage"/lib*/ | head -n 1)
libdir=${libdir%/}
so=$(ls "$libdir"/libVemlo.so.*.*.* | head -n 1)
echo "installed: $so"
soname=$(readelf -d "$so" | sed -n 's/.*SONAME.*\[\(.*\)\].*/\1/p')
echo "SONAME: $soname"
case $soname in libVemlo.so.[0-9]*) ;; *) echo "unversioned SONAME"; exit 1 ;; esac
test -f "$stage/include/Vemlo/Vemlo.h"
# The self-test program is installed beside the library and finds it.
test -x "$stage/bin/vemlo-selftest"
"$stage/bin/vemlo-selftest" | tail -n 1
test -f "$libdir/pkgconfig/vemlo.pc"

# Only the public classes are exported: no file-local helper may show.
if nm -DC --defined-only "$so" | grep -E 'anonymous namespace|convertCase|isBlank'; then
    echo "library exports internal symbols"
    exit 1
fi

# find_package(Vemlo CONFIG REQUIRED)
"$cmake" -S "$src/tests/install/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$stage" \
    -DCMAKE_BUILD_TYPE=Release > "$work/consumer.log"
"$cmake" --build "$work/consumer" >> "$work/consumer.log"
LD_LIBRARY_PATH=$libdir "$work/consumer/vemlo-consumer"

# pkg-config --cflags --libs vemlo
flags=$(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs vemlo)
echo "pkg-config: $flags"
# shellcheck disable=SC2086
${CXX:-c++} -o "$work/vemlo-consumer-pc" "$src/tests/install/consumer/main.cpp" $flags
LD_LIBRARY_PATH=$libdir "$work/vemlo-consumer-pc"

rm -rf "$work"
echo "install test passed"
