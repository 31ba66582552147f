# Installation: libraries, headers, the package for find_package(rimage), pkg-config, the command-line host.
include(CMakePackageConfigHelpers)

set(rimage_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/rimage)
set(rimage_libraries rimage)
if(RIMAGE_HOST STREQUAL "embedded")
  list(APPEND rimage_libraries rbaselib rgl)
  install(DIRECTORY host/rbaselib host/rgl DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
endif()
install(TARGETS ${rimage_libraries} EXPORT rimageTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rimage FILES_MATCHING PATTERN "*.h")
install(EXPORT rimageTargets NAMESPACE rimage:: DESTINATION ${rimage_package_dir})

configure_package_config_file(cmake/rimageConfig.cmake.in ${CMAKE_BINARY_DIR}/rimageConfig.cmake
  INSTALL_DESTINATION ${rimage_package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/rimageConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/rimageConfig.cmake ${CMAKE_BINARY_DIR}/rimageConfigVersion.cmake
  DESTINATION ${rimage_package_dir})

configure_file(cmake/rimage.pc.in ${CMAKE_BINARY_DIR}/rimage.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/rimage.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
