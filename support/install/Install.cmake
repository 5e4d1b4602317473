# Headers, archive and what CMake and pkg-config need to find them. All paths are relative to the
# installed files, so that the installation can be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kem-support)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS kem-support EXPORT kem-support-targets
        ARCHIVE COMPONENT library
        FILE_SET HEADERS COMPONENT library
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})  # for a CMake that knows no file sets
install(EXPORT kem-support-targets NAMESPACE kem:: DESTINATION ${cmake_dir} COMPONENT library)

set(generated ${CMAKE_CURRENT_BINARY_DIR}/install)
write_basic_package_version_file(${generated}/kem-support-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/kem-support-config.cmake
              ${generated}/kem-support-config-version.cmake
        DESTINATION ${cmake_dir} COMPONENT library)

set(prefix /prefix)
cmake_path(RELATIVE_PATH prefix BASE_DIRECTORY ${prefix}/${pkgconfig_dir} OUTPUT_VARIABLE up_to_prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/kem-support.pc.in ${generated}/kem-support.pc @ONLY)
install(FILES ${generated}/kem-support.pc DESTINATION ${pkgconfig_dir} COMPONENT library)
