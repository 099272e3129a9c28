# SPDX-License-Identifier: MIT
# Checks a configuration without a preset, and the message for a compiler that is too old:
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

function(expect_too_old id version too_old)
  execute_process(COMMAND ${CMAKE_COMMAND} -DCMAKE_CXX_COMPILER_ID=${id} -DCMAKE_CXX_COMPILER_VERSION=${version}
    -P ${SOURCE}/cmake/compiler.cmake ERROR_VARIABLE said)
  string(REGEX MATCH "too old" says_so "${said}")
  if((says_so AND NOT too_old) OR (too_old AND NOT says_so))
    message(SEND_ERROR "${id} ${version}: '${said}'")
  endif()
endfunction()
expect_too_old(GNU 11.3 YES)
expect_too_old(GNU 12.0 NO)
expect_too_old(Clang 12.0.1 YES)
expect_too_old(Clang 13 NO)
expect_too_old(Other 1 NO)
