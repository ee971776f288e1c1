# What `cmake --install` puts in place: the headers, the library, and how CMake and pkg-config find it. `cpack` makes two
# Debian packages of it.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/PyxCore)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(TARGETS PyxCore EXPORT PyxCoreTargets LIBRARY COMPONENT runtime NAMELINK_COMPONENT development)
install(EXPORT PyxCoreTargets NAMESPACE PyxCore:: FILE PyxCoreConfig.cmake DESTINATION ${package_dir}
    COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PyxCoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PyxCoreConfigVersion.cmake DESTINATION ${package_dir} COMPONENT development)

# The way from the pkg-config file back to the prefix, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/pyxcore.pc.in ${PROJECT_BINARY_DIR}/pyxcore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/pyxcore.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "the PyxCore project")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libpyxcore)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6, libgcc-s1, libstdc++6 (>= 12)")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libpyxcore-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libpyxcore (= ${PROJECT_VERSION})")
include(CPack)

# gdb looks here, under the full name of the library, for the printers of a library in /usr, as the packages put it there.
install(FILES ${PROJECT_SOURCE_DIR}/debugger/pyxcore.py COMPONENT development
    DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CPACK_PACKAGING_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}
    RENAME libPyxCore.so.${PROJECT_VERSION}-gdb.py)
