# Debian packages of libVemlo, one per install component:
#   libvemlo1     the shared library and vemlo-selftest (what a device needs)
#   libvemlo-dev  headers, the libVemlo.so link, CMake package and vemlo.pc
# Configure with -DCMAKE_INSTALL_PREFIX=/usr (so that the library goes to the
# multiarch folder) and run `cpack -G DEB` in the build folder. A cross build
# for 32-bit ARM gives armhf packages.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libvemlo)
set(CPACK_PACKAGE_VENDOR "libVemlo developers")
set(CPACK_PACKAGE_CONTACT "libVemlo developers <vemlo-dev@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
# A device keeps the stripped library; symbols stay in the build folder.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  # cpack would otherwise ask dpkg, which names the build machine.
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

# Written out rather than computed by dpkg-shlibdeps, which cannot read the
# target's libraries in a cross build: glibc 2.34 has the threads in libc,
# GCC 12's libstdc++ is the one the library is built with.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvemlo${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
  "libc6 (>= 2.34), libgcc-s1 (>= 3.5), libstdc++6 (>= 12), libsqlite3-0 (>= 3.7.15)")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "C++ application framework for embedded Linux devices - runtime library
 The shared library libVemlo and vemlo-selftest, the on-device self-test that
 checks the XML, configuration, path, logging, collection, codec and string
 subsystems on the device it runs on.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvemlo-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libvemlo${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}), libsqlite3-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "C++ application framework for embedded Linux devices - development files
 Headers, the CMake package (find_package(Vemlo)) and the pkg-config file
 (vemlo) for building applications against libVemlo.")

include(CPack)
