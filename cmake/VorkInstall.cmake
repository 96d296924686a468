# What `cmake --install` puts under the prefix: the shared library with its
# SONAME links, every public header (C and C++, the whole include tree), a
# pkg-config file and a CMake package that both work from whichever prefix
# the install used, the command-line tool with its manual page, and the
# reference server.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VORK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/VORKCoreCommC)

install(TARGETS VORKCoreCommC EXPORT VORKCoreCommCTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/VORKCoreCommC
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

# pkg-config: the prefix is found from the .pc file's own folder, so a tree
# installed with --prefix (or moved afterwards) still answers its own paths.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(VORK_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH _vork_up "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
  set(VORK_PC_PREFIX "\${pcfiledir}/${_vork_up}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/VORKCoreCommC.pc.in
  ${PROJECT_BINARY_DIR}/VORKCoreCommC.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/VORKCoreCommC.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# find_package(VORKCoreCommC) gives VORKCoreCommC::VORKCoreCommC.
install(EXPORT VORKCoreCommCTargets NAMESPACE VORKCoreCommC::
  DESTINATION ${VORK_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VORKCoreCommCConfig.cmake.in
  ${PROJECT_BINARY_DIR}/VORKCoreCommCConfig.cmake INSTALL_DESTINATION ${VORK_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VORKCoreCommCConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VORKCoreCommCConfig.cmake
  ${PROJECT_BINARY_DIR}/VORKCoreCommCConfigVersion.cmake DESTINATION ${VORK_CMAKE_DIR})

if(TARGET vorkcomm)
  set_target_properties(vorkcomm PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS vorkcomm RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/tools/refserver/
  DESTINATION ${CMAKE_INSTALL_DATADIR}/vorkcommc/refserver
  PATTERN "__pycache__" EXCLUDE)

# The reference manual, when scripts/docs.sh has made it.
set(VORK_DOCS_HTML ${PROJECT_SOURCE_DIR}/build/docs/html CACHE PATH "Reference manual to install")
install(DIRECTORY ${VORK_DOCS_HTML}/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/html OPTIONAL)
