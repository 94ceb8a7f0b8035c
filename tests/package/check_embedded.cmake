# A project that takes korutex in with add_subdirectory gets the library and nothing else.
include("${CMAKE_CURRENT_LIST_DIR}/package_common.cmake")

file(REMOVE_RECURSE "${WORK_DIR}")
run("configure" "${CMAKE_COMMAND}" -S "${CMAKE_CURRENT_LIST_DIR}/embedding" -B "${WORK_DIR}"
  ${configure_arguments} "-DKORUTEX_DIR=${SOURCE_DIR}" "-DCMAKE_PREFIX_PATH=${PREFIX_PATH}"
  "-DKORUTEX_ASTCENC_SOURCE_DIR=${ASTCENC_SOURCE_DIR}" "-DKORUTEX_LZ4_SOURCE_DIR=${LZ4_SOURCE_DIR}")
