# Which releases of the ASTC codec are refused, warned of and accepted.
include("${CMAKE_CURRENT_LIST_DIR}/package_common.cmake")

# expect(RELEASE SUCCESS|FAILURE TEXT): TEXT is a regular expression for the messages, empty for none.
function(expect release outcome text)
  set(codec "${WORK_DIR}/astcenc")
  file(REMOVE_RECURSE "${codec}")
  file(WRITE "${codec}/Source/astcenc_entry.cpp" "")
  if(release)
    file(WRITE "${codec}/CMakeLists.txt"
      "cmake_minimum_required(VERSION 3.15)\nproject(astcencoder VERSION ${release})\n")
  endif()
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${WORK_DIR}/build" ${configure_arguments}
      -DKORUTEX_BUILD_TESTS=OFF -DKORUTEX_BUILD_TOOLS=OFF
      "-DKORUTEX_ASTCENC_SOURCE_DIR=${codec}" "-DKORUTEX_LZ4_SOURCE_DIR=${LZ4_SOURCE_DIR}" ${ARGN}
    OUTPUT_QUIET ERROR_VARIABLE messages RESULT_VARIABLE result)
  set(actual FAILURE)
  if(result EQUAL 0)
    set(actual SUCCESS)
  endif()
  string(REGEX REPLACE "[ \n]+" " " messages "${messages}")
  if(NOT actual STREQUAL outcome)
    message(FATAL_ERROR "release '${release}': ${actual} instead of ${outcome}: ${messages}")
  endif()
  if(text STREQUAL "")
    if(messages MATCHES "astcenc|ASTC")
      message(FATAL_ERROR "release '${release}' should be silent: ${messages}")
    endif()
  elseif(NOT messages MATCHES "${text}")
    message(FATAL_ERROR "release '${release}': no '${text}' in: ${messages}")
  endif()
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
expect(3.3.0 FAILURE "astcenc 3\\.3\\.0 .* 3\\.4 or later is required")
expect(3.4.0 SUCCESS "")
expect(4.6.1 SUCCESS "")
expect(4.7.0 SUCCESS "Warning.* astcenc 4\\.7\\.0 .* may differ by one")
expect("" SUCCESS "Warning.* unknown.* 3\\.4 to 4\\.6")
expect("" SUCCESS "" -DKORUTEX_ASTCENC_VERSION=4.2.0)
