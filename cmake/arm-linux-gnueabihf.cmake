# Cross build for 32-bit ARM (hard float), run under qemu-arm.
#   cmake -DCMAKE_TOOLCHAIN_FILE=cmake/arm-linux-gnueabihf.cmake [-DVEMLO_ARM_SYSROOT=<dir>]
# VEMLO_ARM_SYSROOT is a folder holding Debian armhf packages unpacked with
# `dpkg -x` (libraries the library depends on, such as SQLite).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

set(VEMLO_ARM_SYSROOT "" CACHE PATH "Folder with armhf packages unpacked by dpkg -x")
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf)
if(VEMLO_ARM_SYSROOT)
  list(APPEND CMAKE_FIND_ROOT_PATH ${VEMLO_ARM_SYSROOT})
  set(CMAKE_LIBRARY_PATH ${VEMLO_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf)
  set(CMAKE_INCLUDE_PATH ${VEMLO_ARM_SYSROOT}/usr/include)
  # Programs linked against libVemlo alone still need the linker to find the
  # libraries libVemlo itself depends on.
  set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${VEMLO_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Test programs run under user-mode qemu, with the cross runtime as its root
# and the unpacked packages' libraries on the loader path.
set(_vemlo_ld_path "/usr/arm-linux-gnueabihf/lib")
if(VEMLO_ARM_SYSROOT)
  string(APPEND _vemlo_ld_path ":${VEMLO_ARM_SYSROOT}/usr/lib/arm-linux-gnueabihf")
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf -E LD_LIBRARY_PATH=${_vemlo_ld_path})
