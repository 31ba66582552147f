# Finds a real host's libraries and publishes them under the names that the module links.
#
#   RHost_ROOT          folder that holds include/rbaselib, include/rgl, lib/librbaselib.* and lib/librgl.*
#   RHost::rbaselib     object model, registries, properties, streams, files
#   RHost::rgl          framebuffer objects, OpenGL function tables (its headers need Qt)
#
# The components are the libraries; without any, rbaselib alone is looked for.
include(FindPackageHandleStandardArgs)

set(RHost_rbaselib_header rbaselib/RObject.h)
set(RHost_rbaselib_uses "")
set(RHost_rgl_header rgl/RGLFrameBufferObject.h)
set(RHost_rgl_uses Qt6::Gui Qt6::OpenGL)

if(NOT RHost_FIND_COMPONENTS)
  set(RHost_FIND_COMPONENTS rbaselib)
  set(RHost_FIND_REQUIRED_rbaselib TRUE)
endif()

set(RHost_required "")
foreach(component IN LISTS RHost_FIND_COMPONENTS)
  if(NOT DEFINED RHost_${component}_header)
    continue()
  endif()
  find_path(RHost_${component}_INCLUDE_DIR ${RHost_${component}_header})
  find_library(RHost_${component}_LIBRARY ${component})
  mark_as_advanced(RHost_${component}_INCLUDE_DIR RHost_${component}_LIBRARY)
  if(RHost_${component}_INCLUDE_DIR AND RHost_${component}_LIBRARY)
    set(RHost_${component}_FOUND TRUE)
  endif()
  if(RHost_FIND_REQUIRED_${component})
    list(APPEND RHost_required RHost_${component}_INCLUDE_DIR RHost_${component}_LIBRARY)
  endif()
endforeach()
find_package_handle_standard_args(RHost REQUIRED_VARS ${RHost_required} HANDLE_COMPONENTS)

if(RHost_FOUND)
  foreach(component IN LISTS RHost_FIND_COMPONENTS)
    if(NOT RHost_${component}_FOUND OR TARGET RHost::${component})
      continue()
    endif()
    add_library(RHost::${component} SHARED IMPORTED)
    set_target_properties(RHost::${component} PROPERTIES
      IMPORTED_LOCATION "${RHost_${component}_LIBRARY}"
      INTERFACE_INCLUDE_DIRECTORIES "${RHost_${component}_INCLUDE_DIR}"
      INTERFACE_LINK_LIBRARIES "${RHost_${component}_uses}")
  endforeach()
endif()
