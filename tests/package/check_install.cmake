# Installs, moves the tree elsewhere, and builds and runs a C99 program against it by both packages.
include("${CMAKE_CURRENT_LIST_DIR}/package_common.cmake")

file(REMOVE_RECURSE "${WORK_DIR}")
run("install" "${CMAKE_COMMAND}" --install "${BINARY_DIR}" --prefix "${WORK_DIR}/first" --config "${CONFIG}")
set(prefix "${WORK_DIR}/moved here")
file(RENAME "${WORK_DIR}/first" "${prefix}")

if(NOT EXISTS "${prefix}/include/korutex.h")
  message(FATAL_ERROR "the header is not installed")
endif()
if(EXPECTED_PROGRAM)
  if(NOT EXISTS "${prefix}/bin/korutex${EXECUTABLE_SUFFIX}")
    message(FATAL_ERROR "the program is not installed")
  endif()
  run("the installed program" ${EMULATOR} "${prefix}/bin/korutex${EXECUTABLE_SUFFIX}" --version)
endif()

# Where ELF files look for libraries: the library where codecs lie that no system folder holds, the
# program beside itself. Nothing may lead to a build folder, which could be anyone's later.
function(read_search_path file folders)
  run("${OBJDUMP} -p" "${OBJDUMP}" -p "${file}")
  set(path)
  if(output MATCHES "R(UN)?PATH +([^\n]*)")
    string(REPLACE ":" ";" path "${CMAKE_MATCH_2}")
  endif()
  set(${folders} "${path}" PARENT_SCOPE)
endfunction()
if(OBJDUMP)
  read_search_path("${prefix}/${LIBDIR}/libkorutex_64.so" folders)
  foreach(folder IN LISTS folders)
    file(GLOB codecs "${folder}/libastcenc*" "${folder}/liblz4*")
    if(NOT IS_ABSOLUTE "${folder}" OR NOT codecs)
      message(FATAL_ERROR "the installed library looks for libraries in '${folder}'")
    endif()
  endforeach()
  if(EXPECTED_PROGRAM)
    read_search_path("${prefix}/bin/korutex" folders)
    if(NOT folders STREQUAL "$ORIGIN/../${LIBDIR}")
      message(FATAL_ERROR "the installed program looks for libraries in '${folders}'")
    endif()
  endif()
endif()

# The codecs are out of reach: a host needs none of them to configure.
run("configure by CMake package" "${CMAKE_COMMAND}" -S "${CMAKE_CURRENT_LIST_DIR}/consumer" -B "${WORK_DIR}/cmake"
  ${configure_arguments} "-DCMAKE_PREFIX_PATH=${prefix}"
  -DCMAKE_DISABLE_FIND_PACKAGE_astcenc=ON -DCMAKE_DISABLE_FIND_PACKAGE_lz4=ON)
run("build by CMake package" "${CMAKE_COMMAND}" --build "${WORK_DIR}/cmake" --config Release)
file(STRINGS "${WORK_DIR}/cmake/consumer_path.txt" consumer)
run("run by CMake package" ${EMULATOR} "${consumer}")

find_program(PKG_CONFIG NAMES pkg-config pkgconf)
if(NOT TOOLCHAIN_FILE AND PKG_CONFIG AND NOT C_COMPILER MATCHES "cl(\\.exe)?$")
  set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
  run("pkg-config" "${PKG_CONFIG}" --cflags --libs korutex)
  separate_arguments(flags UNIX_COMMAND "${output}")
  run("build by pkg-config" "${C_COMPILER}" -std=c99 -pedantic-errors -Wall -Wextra -Werror
    "${CMAKE_CURRENT_LIST_DIR}/consumer/consumer.c" ${flags} "-Wl,-rpath,${prefix}/${LIBDIR}"
    -o "${WORK_DIR}/consumer_pc")
  run("run by pkg-config" "${WORK_DIR}/consumer_pc")
endif()
