# Installs the module's public headers: those that export something, and the module's headers that these include. Runs
# at installation, so that it sees the headers as they are then.
#
#   RIMAGE_HEADERS_FROM     folder of the sources
#   RIMAGE_HEADERS_TO       folder under the prefix

cmake_policy(VERSION 3.25)
file(GLOB_RECURSE headers RELATIVE ${RIMAGE_HEADERS_FROM} ${RIMAGE_HEADERS_FROM}/*.h)
set(open "")
foreach(header IN LISTS headers)
  file(STRINGS ${RIMAGE_HEADERS_FROM}/${header} exports REGEX RIMAGE_API LIMIT_COUNT 1)
  if(NOT exports STREQUAL "")
    list(APPEND open ${header})
  endif()
endforeach()

set(public "")
while(open)
  list(POP_BACK open header)
  if(header IN_LIST public)
    continue()
  endif()
  list(APPEND public ${header})
  file(STRINGS ${RIMAGE_HEADERS_FROM}/${header} lines REGEX "^#include \"")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" included "${line}")
    if(EXISTS ${RIMAGE_HEADERS_FROM}/${included})
      list(APPEND open ${included})
    endif()
  endforeach()
endwhile()

foreach(header IN LISTS public)
  cmake_path(GET header PARENT_PATH folder)
  file(INSTALL ${RIMAGE_HEADERS_FROM}/${header} DESTINATION ${CMAKE_INSTALL_PREFIX}/${RIMAGE_HEADERS_TO}/${folder})
endforeach()
