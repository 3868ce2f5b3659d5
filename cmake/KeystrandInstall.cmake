# What an installed copy holds: the shared library, the public headers, the CMake package and keystrand.pc.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Keystrand)

install(TARGETS keystrand EXPORT KeystrandTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/keystrand DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT KeystrandTargets NAMESPACE Keystrand:: DESTINATION ${package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KeystrandConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/KeystrandConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KeystrandConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KeystrandConfig.cmake ${PROJECT_BINARY_DIR}/KeystrandConfigVersion.cmake
        DESTINATION ${package_dir})

configure_file(${PROJECT_SOURCE_DIR}/cmake/keystrand.pc.in ${PROJECT_BINARY_DIR}/keystrand.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/keystrand.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
