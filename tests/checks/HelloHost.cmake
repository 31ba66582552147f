# Runs the host of the examples, which loads the module, and compares its result with what the command-line host makes
# of the same effects.
#
#   HELLO_HOST, MODULE, TOOL        the programs and the module
#   SOURCE, WORK                    folders of the project and for what is made here
cmake_policy(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/ConsumerSteps.cmake)

set(picture ${SOURCE}/tests/data/png/gen_im_rgba8.png)
set(background ${SOURCE}/tests/data/jpeg/gen_im_444.jpeg)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
run(${HELLO_HOST} ${MODULE} ${picture} ${background} ${WORK}/hello.tif)

file(WRITE ${WORK}/graph.json "{\"nodes\": {
  \"darker\": {\"operator\": \"RImOpCC\", \"inputs\": [\"${picture}\"], \"properties\": {\"Gamma\": 0.7}},
  \"over\": {\"operator\": \"RImOpBlend\", \"inputs\": [\"darker\", \"${background}\"], \"properties\": {\"Preset\": \"A over B\"}},
  \"brighter\": {\"operator\": \"RImOpCC\", \"inputs\": [\"over\"], \"properties\": {\"Gamma\": 1.4}}},
  \"output\": \"brighter\"}")
run(${TOOL} graph ${WORK}/graph.json ${WORK}/tool.tif --gpu=require)
run(${TOOL} compare ${WORK}/hello.tif ${WORK}/tool.tif --tolerance 1)
run(${TOOL} convert ${picture} ${WORK}/plain.tif)
execute_process(COMMAND ${TOOL} compare ${WORK}/hello.tif ${WORK}/plain.tif --tolerance 1 RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 1)
  message(FATAL_ERROR "the effects changed nothing")
endif()
