# Makes the packages, unpacks them, and looks at what is in them: the Debian packages together and the archives together
# hold what an installation holds, each file once, and the unpacked tree works.
#
#   SOURCE, BUILD       folders of the project and of its build, which has been built
#   WORK                folder for everything that is made here; emptied first
#   QT_PLUGIN_DIR       as in the build
cmake_policy(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/ConsumerSteps.cmake)
find_program(dpkg_deb dpkg-deb REQUIRED)

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/root ${WORK}/one ${WORK}/archives)
cmake_path(GET CMAKE_COMMAND PARENT_PATH bin)
run(${bin}/cpack --config ${BUILD}/CPackConfig.cmake -B ${WORK}/made)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)

# files_in(FOLDER VARIABLE): the files under a folder, by name.
function(files_in folder variable)
  file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${folder} ${folder}/*)
  list(SORT files)
  set(${variable} ${files} PARENT_SCOPE)
endfunction()

# expect_equal(WHAT ONE OTHER): two lists.
function(expect_equal what one other)
  if(NOT "${one}" STREQUAL "${other}")
    message(FATAL_ERROR "${what}:\n${one}\nare not\n${other}")
  endif()
endfunction()

files_in(${WORK}/installed installed)
set(names "")
set(contents "")
file(GLOB packages ${WORK}/made/*.deb)
foreach(package IN LISTS packages)
  execute_process(COMMAND ${dpkg_deb} -f ${package} Package OUTPUT_VARIABLE name
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${dpkg_deb} -f ${package} Depends OUTPUT_VARIABLE depends
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND names ${name})
  set(depends_of_${name} "${depends}")
  run(${dpkg_deb} -x ${package} ${WORK}/root)
  run(${dpkg_deb} -x ${package} ${WORK}/one/${name})
  files_in(${WORK}/one/${name}/usr files)
  list(APPEND contents ${files})
endforeach()
list(SORT names)
expect_equal("the packages" "${names}" "librimage;librimage-dev;rimage-doc;rimage-qt6;rimage-tools")
list(SORT contents)
expect_equal("the files of the packages" "${contents}" "${installed}")

# Each says what it needs: those with programs the libraries, found out from the files, and the package of the library.
foreach(need "librimage|libqt6gui6" "librimage-dev|librimage \\(= " "rimage-tools|librimage \\(= " "rimage-tools|libqt6gui6"
    "rimage-qt6|librimage \\(= " "rimage-qt6|libqt6core6")
  string(REPLACE "|" ";" pair "${need}")
  list(GET pair 0 name)
  list(GET pair 1 pattern)
  if(NOT depends_of_${name} MATCHES "${pattern}")
    message(FATAL_ERROR "${name} depends on '${depends_of_${name}}', without ${pattern}")
  endif()
endforeach()

file(GLOB archives ${WORK}/made/*.tar.gz)
list(LENGTH archives count)
if(NOT count EQUAL 5)
  message(FATAL_ERROR "${count} archives: ${archives}")
endif()
foreach(archive IN LISTS archives)
  file(ARCHIVE_EXTRACT INPUT ${archive} DESTINATION ${WORK}/archives)
endforeach()
files_in(${WORK}/archives unpacked)
expect_equal("the files of the archives" "${unpacked}" "${installed}")

# What was unpacked works where it lies.
foreach(tree ${WORK}/root/usr ${WORK}/archives)
  run(${tree}/bin/rimage info ${SOURCE}/tests/data/sgi/gen_im_rgba16_rle.sgi)
  if(NOT EXISTS ${tree}/${QT_PLUGIN_DIR}/imageformats/libqrimage.so)
    message(FATAL_ERROR "${tree} has no plugin")
  endif()
endforeach()
