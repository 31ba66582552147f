# Builds the module with a host that is not its own: the embedded host is installed alone, stands in for a real one, and
# a program is built against the module that was built with it.
#
#   SOURCE, BUILD       folders of the project and of its build, which has been built
#   WORK                folder for everything that is made here; emptied first
#   LIBDIR, GENERATOR, COMPILER, FLAGS      as in the build
cmake_policy(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/ConsumerSteps.cmake)

file(REMOVE_RECURSE ${WORK})
foreach(component host host_dev)
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/host --component ${component})
endforeach()
if(EXISTS ${WORK}/host/include/rimage OR EXISTS ${WORK}/host/bin)
  message(FATAL_ERROR "the host's component holds more than the host")
endif()

# Cg comes from a toolkit's folder, under the names that libraries have there.
file(MAKE_DIRECTORY ${WORK}/toolkit/include ${WORK}/toolkit/lib)
file(RENAME ${WORK}/host/include/Cg ${WORK}/toolkit/include/Cg)
# The runtime stands beside what it uses itself.
file(COPY ${WORK}/host/${LIBDIR}/ DESTINATION ${WORK}/toolkit/lib)
file(GLOB cg_libraries ${WORK}/host/${LIBDIR}/libcg.*)
file(REMOVE ${cg_libraries})
file(CREATE_LINK libcg.so ${WORK}/toolkit/lib/libCg.so SYMBOLIC)
file(CREATE_LINK libcg.so ${WORK}/toolkit/lib/libCgGL.so SYMBOLIC)

run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Debug
  -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${FLAGS} -DCMAKE_CXX_FLAGS_DEBUG=-O0
  -DRIMAGE_HOST=external -DRHost_ROOT=${WORK}/host -DRIMAGE_CG_TOOLKIT=${WORK}/toolkit -DRIMAGE_BUILD_TOOLS=OFF -DRIMAGE_BUILD_TESTS=OFF)
run(${CMAKE_COMMAND} --build ${WORK}/build)
file(GLOB libraries RELATIVE ${WORK}/build/lib ${WORK}/build/lib/*.so)
if(NOT libraries STREQUAL "librimage.so")
  message(FATAL_ERROR "built ${libraries} instead of the module alone")
endif()

run(${CMAKE_COMMAND} --install ${WORK}/build --prefix ${WORK}/prefix)
build_consumer(${WORK}/prefix ${WORK}/consumer -DRHost_ROOT=${WORK}/host -DRIMAGE_CG_TOOLKIT=${WORK}/toolkit)
run_consumer(${WORK}/consumer)
