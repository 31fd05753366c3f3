# The Debian package: "cpack -G DEB" in the build directory makes
# velkport_<version>_<arch>.deb of everything the install rules name, under
# /usr. dpkg-shlibdeps finds what the library and the programs link
# (libc6, libstdc++6, ...), and the package says which version of it
# provides libvelkport.so.1 (its shlibs file).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velkport)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "the Velkport developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "ring tones and images of a mobile phone over an AT serial link")
set(CPACK_PACKAGE_DESCRIPTION
    "A shared library with which a desktop application reads and writes the ring
tones and images of a mobile phone on a serial port, driven by AT commands,
with its C header, pkg-config and CMake files, the velkport program, the
velkport-phone simulator, their manual pages and bash completion, and a udev
rule (inactive until copied) that keeps ModemManager off a phone.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# As Debian ships programs: without their debugging information.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "the Velkport developers <velkport@localhost>")
set(CPACK_DEBIAN_PACKAGE_SECTION comm)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# cpack, and make install, take the build as it stands instead of building
# "all" first: the package test runs cpack beside the rest of the suite,
# which a rebuild under its feet would break. Build, then install or pack.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
# The Python module rides along for those who want it; the library and the
# programs need no Python.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS python3)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
include(CPack)
