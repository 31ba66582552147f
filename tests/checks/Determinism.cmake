# Builds the module and the host with two compilers, without and with optimisation, and checks that the tool of this build
# writes the same bytes with all of them, and so does a tool that another compiler has made.
#
#   SOURCE, WORK        folder of the project, and one for the builds
#   TOOL, PYTHON        the tool of this build, the interpreter
#   DISPLAY, GENERATOR  what gives a command a display; as in the build
cmake_policy(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/ConsumerSteps.cmake)

set(tools ${TOOL})
foreach(compiler g++ clang++)
  foreach(level O0 O3)
    set(build ${WORK}/${compiler}-${level})
    run(${CMAKE_COMMAND} -S ${SOURCE} -B ${build} -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=${compiler}
      -DCMAKE_CXX_FLAGS_DEBUG=-${level} -DRIMAGE_BUILD_TESTS=OFF -DRIMAGE_BUILD_QT_PLUGIN=OFF)
    run(${CMAKE_COMMAND} --build ${build} --target rimage)
    file(WRITE ${build}/tool "#!/bin/sh\nLD_LIBRARY_PATH=${build}/lib exec ${TOOL} \"$@\"\n")
    file(CHMOD ${build}/tool PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    list(APPEND tools ${build}/tool)
  endforeach()
endforeach()
# The headers of its libraries make the tool take longer than all the others together: one build of it.
run(${CMAKE_COMMAND} --build ${WORK}/clang++-O0 --target rimage_tool)
list(APPEND tools ${WORK}/clang++-O0/bin/rimage)
run(${DISPLAY} ${PYTHON} ${CMAKE_CURRENT_LIST_DIR}/determinism.py ${SOURCE} 3 ${tools})
