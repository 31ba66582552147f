# Steps that the checks of installed trees share.

# run(COMMAND...): runs it quietly; a failure ends the check with what the command said.
function(run)
  execute_process(COMMAND ${ARGV} OUTPUT_VARIABLE said ERROR_VARIABLE said RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGV " " command)
    message(NOTICE "${said}")
    message(FATAL_ERROR "${command}\ngave ${result}")
  endif()
endfunction()

# build_consumer(PREFIX FOLDER [OPTION...]): builds tests/checks/consumer against the rimage installed in PREFIX.
function(build_consumer prefix folder)
  file(GLOB_RECURSE headers RELATIVE ${prefix}/include/rimage ${prefix}/include/rimage/*.h)
  if(NOT headers)
    message(FATAL_ERROR "no header is installed in ${prefix}/include/rimage")
  endif()
  list(TRANSFORM headers REPLACE "(.+)" "#include \"\\1\"\n")
  list(JOIN headers "" includes)
  file(WRITE ${folder}/installed_headers.h "${includes}")
  run(${CMAKE_COMMAND} -S ${SOURCE}/tests/checks/consumer -B ${folder} -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${FLAGS} -DCMAKE_PREFIX_PATH=${prefix}
    -DRIMAGE_EXAMPLES=${SOURCE}/examples ${ARGN})
  run(${CMAKE_COMMAND} --build ${folder})
endfunction()

# run_consumer(FOLDER): runs its programs.
function(run_consumer folder)
  run(${folder}/hello ${SOURCE}/tests/data/png/gen_im_rgba8.png ${folder}/hello.jpg)
  run(${folder}/all_headers)
endfunction()
