# Builds programs against an installed rimage, with find_package and with pkg-config, and runs them and the installed
# tool and Qt plugin. The installed tree is moved first, so that nothing in it may name the place where it was made.
#
#   SOURCE, BUILD       folders of the project and of its build, which has been built
#   WORK                folder for everything that is made here; emptied first
#   LIBDIR, QT_PLUGIN_DIR, GENERATOR, COMPILER, FLAGS      as in the build
cmake_policy(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/ConsumerSteps.cmake)

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/made)
file(RENAME ${WORK}/made ${WORK}/prefix)

build_consumer(${WORK}/prefix ${WORK}/consumer)
run_consumer(${WORK}/consumer)

# pkg-config knows no run paths; a user of a prefix of his own sets the library path.
find_program(pkg_config NAMES pkg-config pkgconf REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${WORK}/prefix/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${pkg_config} --cflags --libs rimage OUTPUT_VARIABLE options COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(options UNIX_COMMAND "${options}")
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
file(MAKE_DIRECTORY ${WORK}/pkg-config)
foreach(program ${SOURCE}/examples/hello.cpp ${SOURCE}/tests/checks/consumer/all_headers.cpp)
  cmake_path(GET program STEM name)
  run(${COMPILER} -std=c++20 ${flags} -I${WORK}/consumer ${program} -o ${WORK}/pkg-config/${name} ${options})
endforeach()
set(ENV{LD_LIBRARY_PATH} ${WORK}/prefix/${LIBDIR})
run_consumer(${WORK}/pkg-config)
unset(ENV{LD_LIBRARY_PATH})

# The Qt plugin finds its libraries by itself, and Qt finds the plugin by one variable. There is no display.
if(EXISTS ${WORK}/prefix/${QT_PLUGIN_DIR})
  unset(ENV{DISPLAY})
  set(ENV{QT_PLUGIN_PATH} ${WORK}/prefix/${QT_PLUGIN_DIR})
  foreach(sample sgi/imgx_rle-rgba8.rgb pic/gen_qt_odd.pic iff/gen_pbm_p8_rle.iff dds/oiio_dds_bc7.dds)
    run(${WORK}/consumer/qt_pictures ${SOURCE}/tests/data/${sample} ${SOURCE}/tests/data/${sample}.expected.png)
  endforeach()
  unset(ENV{QT_PLUGIN_PATH})
endif()

if(EXISTS ${WORK}/prefix/bin/rimage)
  run(${WORK}/prefix/bin/rimage formats)
endif()
