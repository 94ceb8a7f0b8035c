# Builds the libraries from a copy of their sources, in folders with names of other lengths, and compares
# them byte for byte.
include("${CMAKE_CURRENT_LIST_DIR}/../package/package_common.cmake")

set(sources "${WORK_DIR}/a_copy_of_the_sources_under_a_longer_name/korutex")
set(build "${WORK_DIR}/b")
file(REMOVE_RECURSE "${WORK_DIR}")
file(COPY "${SOURCE_DIR}/CMakeLists.txt" "${SOURCE_DIR}/cmake" "${SOURCE_DIR}/include"
  "${SOURCE_DIR}/integrations" "${SOURCE_DIR}/src" DESTINATION "${sources}")
file(COPY "${SOURCE_DIR}/tools/hosting" DESTINATION "${sources}/tools")
file(COPY "${SOURCE_DIR}/tests/wine/run_wine.sh.in" DESTINATION "${sources}/tests/wine")

# A compiler cache would hand out the first build's objects.
set(ENV{CCACHE_DISABLE} 1)
unset(ENV{CMAKE_C_COMPILER_LAUNCHER})
unset(ENV{CMAKE_CXX_COMPILER_LAUNCHER})
run("configure" "${CMAKE_COMMAND}" -S "${sources}" -B "${build}" ${configure_arguments}
  "-DCMAKE_C_FLAGS=${C_FLAGS}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
  "-DCMAKE_SHARED_LINKER_FLAGS=${SHARED_LINKER_FLAGS}" "-DCMAKE_PREFIX_PATH=${PREFIX_PATH}"
  "-DKORUTEX_ASTCENC_SOURCE_DIR=${ASTCENC_SOURCE_DIR}" "-DKORUTEX_ASTCENC_VERSION=${ASTCENC_VERSION}"
  "-DKORUTEX_ASTCENC_SSE41=${ASTCENC_SSE41}" "-DKORUTEX_LZ4_SOURCE_DIR=${LZ4_SOURCE_DIR}"
  -DKORUTEX_BUILD_TOOLS=OFF -DKORUTEX_BUILD_TESTS=OFF -DKORUTEX_INSTALL=OFF)
list(REMOVE_ITEM LIBRARIES "")  # what this system does not have
foreach(file IN LISTS LIBRARIES)
  get_filename_component(name "${file}" NAME)
  set(target korutex)
  if(name MATCHES "^korutex_wic")
    set(target korutex_wic)
  endif()
  run("build" "${CMAKE_COMMAND}" --build "${build}" --target ${target} --parallel 2)
  file(SHA256 "${file}" first)
  file(SHA256 "${build}/${name}" second)
  if(NOT first STREQUAL second)
    message(FATAL_ERROR "the second build differs: cmp -l ${file} ${build}/${name}")
  endif()
  message(STATUS "${name}: ${first}, twice")
endforeach()
