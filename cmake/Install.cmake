# What `cmake --install` puts in place: the headers, the library, and the package for find_package(PyxCore).
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/PyxCore)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS PyxCore EXPORT PyxCoreTargets)
install(EXPORT PyxCoreTargets NAMESPACE PyxCore:: FILE PyxCoreConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PyxCoreConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PyxCoreConfigVersion.cmake DESTINATION ${package_dir})
