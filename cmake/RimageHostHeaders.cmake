# Which headers of the embedded host are public, for the installation and for the site of the documentation.

# Headers are included by the name of their folder, which is not always the library's.
set(rimage_headers_of_rbaselib host/rbaselib)
set(rimage_headers_of_rgl host/rgl)
set(rimage_headers_of_cg host/cg/Cg)
set(rimage_public_host_headers FILES_MATCHING PATTERN "*.h" PATTERN internal EXCLUDE)

# As a script, with RIMAGE_SOURCE, the folder of the project, and RIMAGE_HOST_HEADERS_TO: puts them all there.
if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  foreach(library rbaselib rgl cg)
    file(INSTALL ${RIMAGE_SOURCE}/${rimage_headers_of_${library}} DESTINATION ${RIMAGE_HOST_HEADERS_TO}
      ${rimage_public_host_headers})
  endforeach()
endif()
