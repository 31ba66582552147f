# Finds a real host's libraries and publishes them under the names that the module links.
#
#   RHost_ROOT          folder that holds include/rbaselib and lib/librbaselib.*
#   RHost::rbaselib     object model, registries, properties, streams, files
include(FindPackageHandleStandardArgs)

find_path(RHost_INCLUDE_DIR rbaselib/RObject.h)
find_library(RHost_rbaselib_LIBRARY rbaselib)
find_package_handle_standard_args(RHost REQUIRED_VARS RHost_INCLUDE_DIR RHost_rbaselib_LIBRARY)

if(RHost_FOUND AND NOT TARGET RHost::rbaselib)
  add_library(RHost::rbaselib UNKNOWN IMPORTED)
  set_target_properties(RHost::rbaselib PROPERTIES
    IMPORTED_LOCATION ${RHost_rbaselib_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${RHost_INCLUDE_DIR})
endif()
