# SPDX-License-Identifier: MIT
# Checks the build type of a configuration without a preset:
#   cmake -DSOURCE=FOLDER -DBUILD=FOLDER -DCOMPILER=PROGRAM -DGENERATOR=NAME -P configure.cmake
function(expect_build_type type)
  file(REMOVE_RECURSE ${BUILD})
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${BUILD} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${COMPILER} -DBUILD_TESTING=OFF
    -DBRUMBLER_CLI=OFF -DBRUMBLER_LV2=OFF ${ARGN} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  load_cache(${BUILD} READ_WITH_PREFIX GOT_ CMAKE_BUILD_TYPE)
  if(NOT GOT_CMAKE_BUILD_TYPE STREQUAL type)
    message(SEND_ERROR "configured with '${ARGN}' the build type is '${GOT_CMAKE_BUILD_TYPE}', not ${type}")
  endif()
endfunction()
expect_build_type(Release)
expect_build_type(Debug -DCMAKE_BUILD_TYPE=Debug)
file(REMOVE_RECURSE ${BUILD})
