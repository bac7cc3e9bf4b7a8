# What `cmake --install` lays down: the library, its headers, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Vantiflux)

install(TARGETS Vantiflux EXPORT VantifluxTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT VantifluxTargets NAMESPACE Vantiflux:: DESTINATION ${package_dir})

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/VantifluxConfig.cmake.in
  ${PROJECT_BINARY_DIR}/VantifluxConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VantifluxConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VantifluxConfig.cmake ${PROJECT_BINARY_DIR}/VantifluxConfigVersion.cmake
  DESTINATION ${package_dir})

# The way from the pkg-config file to the prefix, so that an installed tree can be moved.
file(RELATIVE_PATH VANTIFLUX_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/vantiflux.pc.in ${PROJECT_BINARY_DIR}/vantiflux.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vantiflux.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
