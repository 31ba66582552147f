# Finds a real host's libraries and publishes them under the names that the module links.
#
#   RHost_ROOT          folder that holds include/rbaselib, include/rgl, lib/librbaselib.* and lib/librgl.*
#   RHost::rbaselib     object model, registries, properties, streams, files
#   RHost::rgl          framebuffer objects, OpenGL function tables (its headers need Qt)
include(FindPackageHandleStandardArgs)

find_path(RHost_INCLUDE_DIR rbaselib/RObject.h)
find_library(RHost_rbaselib_LIBRARY rbaselib)
find_library(RHost_rgl_LIBRARY rgl)
find_package_handle_standard_args(RHost
  REQUIRED_VARS RHost_INCLUDE_DIR RHost_rbaselib_LIBRARY RHost_rgl_LIBRARY)

if(RHost_FOUND AND NOT TARGET RHost::rbaselib)
  add_library(RHost::rbaselib UNKNOWN IMPORTED)
  set_target_properties(RHost::rbaselib PROPERTIES
    IMPORTED_LOCATION ${RHost_rbaselib_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${RHost_INCLUDE_DIR})
endif()

if(RHost_FOUND AND NOT TARGET RHost::rgl)
  add_library(RHost::rgl UNKNOWN IMPORTED)
  set_target_properties(RHost::rgl PROPERTIES
    IMPORTED_LOCATION ${RHost_rgl_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${RHost_INCLUDE_DIR}
    INTERFACE_LINK_LIBRARIES "Qt6::Gui;Qt6::OpenGL")
endif()
