# Installation, in components: host and host_dev (the embedded host's libraries, and its headers), module and module_dev
# (the module; its public headers and the packages for find_package(rimage) and pkg-config), tools (the command-line
# host), qt6 (the plugin) and doc. The installed tree may be moved; a real host stays where it was found.
include(CMakePackageConfigHelpers)

set(rimage_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/rimage)
set(rimage_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/rimage)
set(rimage_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH rimage_lib_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH rimage_prefix_from_pkgconfig
  ${CMAKE_INSTALL_PREFIX}/${rimage_pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})

# Libraries stand side by side, and programs find them from their own folder.
set(rimage_lib_rpath "$ORIGIN")
set(rimage_bin_rpath "$ORIGIN/${rimage_lib_from_bin}")

include(${CMAKE_CURRENT_LIST_DIR}/RimageHostHeaders.cmake)
foreach(library IN LISTS RIMAGE_HOST_LIBRARIES)
  set_target_properties(${library} PROPERTIES INSTALL_RPATH "${rimage_lib_rpath}")
  install(TARGETS ${library} EXPORT rimageTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT host NAMELINK_COMPONENT host_dev)
  install(DIRECTORY ${rimage_headers_of_${library}} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT host_dev
    ${rimage_public_host_headers})
endforeach()

foreach(library IN LISTS RIMAGE_FOUND_HOST_LIBRARIES)
  cmake_path(GET RHost_${library}_LIBRARY PARENT_PATH folder)
  list(APPEND rimage_lib_rpath ${folder})
  list(APPEND rimage_bin_rpath ${folder})
endforeach()
list(REMOVE_DUPLICATES rimage_lib_rpath)
list(REMOVE_DUPLICATES rimage_bin_rpath)
if(RIMAGE_FOUND_HOST_LIBRARIES)
  install(FILES cmake/FindRHost.cmake DESTINATION ${rimage_package_dir} COMPONENT module_dev)
endif()

if(RIMAGE_HOST STREQUAL "embedded")
  set(rimage_host_libdir "\${libdir}")
  set(rimage_host_includedir "\${includedir}")
else()
  cmake_path(GET RHost_rbaselib_LIBRARY PARENT_PATH rimage_host_libdir)
  set(rimage_host_includedir ${RHost_rbaselib_INCLUDE_DIR})
endif()

set_target_properties(rimage PROPERTIES INSTALL_RPATH "${rimage_lib_rpath}")
install(TARGETS rimage EXPORT rimageTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  COMPONENT module NAMELINK_COMPONENT module_dev)
install(CODE "
  set(RIMAGE_HEADERS_FROM [[${PROJECT_SOURCE_DIR}/src]])
  set(RIMAGE_HEADERS_TO [[${rimage_include_dir}]])" COMPONENT module_dev)
install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/RimageInstallHeaders.cmake COMPONENT module_dev)

install(EXPORT rimageTargets NAMESPACE rimage:: DESTINATION ${rimage_package_dir} COMPONENT module_dev)
configure_package_config_file(cmake/rimageConfig.cmake.in ${PROJECT_BINARY_DIR}/rimageConfig.cmake
  INSTALL_DESTINATION ${rimage_package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/rimageConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/rimageConfig.cmake ${PROJECT_BINARY_DIR}/rimageConfigVersion.cmake
  DESTINATION ${rimage_package_dir} COMPONENT module_dev)

configure_file(cmake/rimage.pc.in ${PROJECT_BINARY_DIR}/rimage.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/rimage.pc DESTINATION ${rimage_pkgconfig_dir} COMPONENT module_dev)

# The pages with what they refer to, the samples, in whose folder the examples of the help run, and the site where
# ./dev package has made it.
install(FILES README.md ARCHITECTURE.md CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc
  FILES_MATCHING PATTERN "*.md" PATTERN "*.jpg" PATTERN "*.png")
install(DIRECTORY samples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc USE_SOURCE_PERMISSIONS)
install(FILES examples/hello.cpp examples/hello_host.cpp examples/bad_host.cpp
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT doc)
install(DIRECTORY ${PROJECT_BINARY_DIR}/site/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/html COMPONENT doc OPTIONAL)

if(TARGET rimage_qt6)
  file(RELATIVE_PATH rimage_lib_from_plugin
    ${CMAKE_INSTALL_PREFIX}/${RIMAGE_QT_PLUGIN_DIR}/imageformats ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(rimage_qt6 PROPERTIES INSTALL_RPATH "$ORIGIN/${rimage_lib_from_plugin}")
endif()
if(TARGET rimage_tool)
  set_target_properties(rimage_tool PROPERTIES INSTALL_RPATH "${rimage_bin_rpath}")
endif()
