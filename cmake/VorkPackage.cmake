# A Debian package made by CPack from the install rules (scripts/package.sh):
# the library, its headers, pkg-config and CMake files, vorkcomm with its
# manual page, the reference manual when it was generated, and the reference
# server. Dependencies: what dpkg-shlibdeps finds for the library and the
# tool, plus what the reference server runs on.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vorkcommc)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "libVORKCoreCommC developers <vorkcommc@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "communication and system-support library of the device-management agent")
set(CPACK_PACKAGE_DESCRIPTION
  "The library (flat C interface and public C++ classes) with its headers,\npkg-config and CMake package files, the vorkcomm command-line tool and the\nreference management server.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "python3, python3-lxml, openssl")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
include(CPack)
