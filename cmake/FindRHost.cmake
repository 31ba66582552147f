# Finds a real host's libraries and publishes them under the names that the module links.
#
#   RHost_ROOT          folder that holds include/rbaselib, include/rgl, include/Cg, lib/librbaselib.*, lib/librgl.* and
#                       lib/libcg.*
#   RIMAGE_CG_TOOLKIT   folder of a Cg toolkit, if Cg comes from there: include/Cg, lib/libCg.* and lib/libCgGL.*
#   RHost::rbaselib     object model, registries, properties, streams, files
#   RHost::rgl          framebuffer objects, OpenGL function tables (its headers need Qt)
#   RHost::cg           the Cg runtime with its OpenGL part
#
# The components are the libraries; without any, rbaselib alone is looked for.
include(FindPackageHandleStandardArgs)

set(RHost_rbaselib_header rbaselib/RObject.h)
set(RHost_rbaselib_uses "")
set(RHost_rgl_header rgl/RGLFrameBufferObject.h)
set(RHost_rgl_uses Qt6::Gui Qt6::OpenGL)
set(RHost_cg_header Cg/cgGL.h)
set(RHost_cg_uses "")
set(RHost_cg_names Cg cg)
set(RHost_cg_hints ${RIMAGE_CG_TOOLKIT})
# A toolkit has a library of its own for the OpenGL part.
set(RHost_cg_part CgGL)

if(NOT RHost_FIND_COMPONENTS)
  set(RHost_FIND_COMPONENTS rbaselib)
  set(RHost_FIND_REQUIRED_rbaselib TRUE)
endif()

set(RHost_required "")
foreach(component IN LISTS RHost_FIND_COMPONENTS)
  if(NOT DEFINED RHost_${component}_header)
    continue()
  endif()
  if(NOT DEFINED RHost_${component}_names)
    set(RHost_${component}_names ${component})
  endif()
  find_path(RHost_${component}_INCLUDE_DIR ${RHost_${component}_header}
    HINTS ${RHost_${component}_hints} PATH_SUFFIXES include)
  find_library(RHost_${component}_LIBRARY NAMES ${RHost_${component}_names}
    HINTS ${RHost_${component}_hints} PATH_SUFFIXES lib lib64)
  mark_as_advanced(RHost_${component}_INCLUDE_DIR RHost_${component}_LIBRARY)
  if(DEFINED RHost_${component}_part)
    find_library(RHost_${component}_PART_LIBRARY ${RHost_${component}_part}
      HINTS ${RHost_${component}_hints} PATH_SUFFIXES lib lib64)
    mark_as_advanced(RHost_${component}_PART_LIBRARY)
    if(RHost_${component}_PART_LIBRARY)
      list(APPEND RHost_${component}_uses ${RHost_${component}_PART_LIBRARY})
    endif()
  endif()
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
