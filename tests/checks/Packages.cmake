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
  set(files_of_${name} ${files})
endforeach()
list(SORT names)
expect_equal("the packages" "${names}" "librimage;librimage-dev;rimage-doc;rimage-qt6;rimage-tools")
list(SORT contents)
expect_equal("the files of the packages" "${contents}" "${installed}")

# What each is there for.
set(docs share/doc/rimage)
foreach(place "librimage|lib[^;]*/librimage\\.so\\.[0-9]" "librimage|lib[^;]*/librbaselib\\.so\\.[0-9]"
    "librimage-dev|include/rimage/image/RImage\\.h" "librimage-dev|lib[^;]*/cmake/rimage/rimageConfig\\.cmake"
    "librimage-dev|lib[^;]*/pkgconfig/rimage\\.pc" "librimage-dev|lib[^;]*/librimage\\.so"
    "rimage-tools|bin/rimage" "rimage-tools|share/man/man1/rimage\\.1"
    "rimage-tools|share/bash-completion/completions/rimage" "rimage-tools|share/zsh/site-functions/_rimage"
    "rimage-tools|share/fish/vendor_completions\\.d/rimage\\.fish" "rimage-qt6|[^;]*imageformats/libqrimage\\.so"
    "rimage-doc|${docs}/docs/command-line\\.md" "rimage-doc|${docs}/samples/hopper\\.tga"
    "rimage-doc|${docs}/examples/hello_host\\.cpp")
  string(REPLACE "|" ";" pair "${place}")
  list(GET pair 0 name)
  list(GET pair 1 pattern)
  if(NOT ";${files_of_${name}};" MATCHES ";${pattern};")
    message(FATAL_ERROR "${name} has no ${pattern}, but ${files_of_${name}}")
  endif()
endforeach()

# The pages lead to each other where they are installed, too.
file(GLOB pages ${WORK}/root/usr/${docs}/*.md ${WORK}/root/usr/${docs}/docs/*.md)
set(links 0)
foreach(page IN LISTS pages)
  cmake_path(GET page PARENT_PATH folder)
  file(READ ${page} text)
  # Brackets would hold a list together.
  string(REPLACE "](" "@leads to@" text "${text}")
  string(REGEX MATCHALL "@leads to@[A-Za-z][^):;]*\\)" found "${text}")
  foreach(link IN LISTS found)
    string(REGEX REPLACE "^@leads to@([^)#]*).*" "\\1" target "${link}")
    if(NOT EXISTS ${folder}/${target})
      message(FATAL_ERROR "${page} leads to ${target}, which is not installed")
    endif()
    math(EXPR links "${links} + 1")
  endforeach()
endforeach()
if(links LESS 10)
  message(FATAL_ERROR "only ${links} links were found")
endif()

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
