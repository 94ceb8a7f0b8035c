# Packs for Windows, unpacks elsewhere, and runs the program from there.
include("${CMAKE_CURRENT_LIST_DIR}/package_common.cmake")

file(REMOVE_RECURSE "${WORK_DIR}")
set(cpack "${CMAKE_CPACK_COMMAND}" --config "${BINARY_DIR}/CPackConfig.cmake")

# Codecs in DLLs of their own would be missing elsewhere.
file(STRINGS "${BINARY_DIR}/korutex_64.dll" codec_names REGEX "(astcenc|lz4)\\.dll")
execute_process(COMMAND ${cpack} -B "${WORK_DIR}/refused"
  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
if(codec_names AND result EQUAL 0)
  message(FATAL_ERROR "a library that needs codec DLLs was packed")
elseif(codec_names AND NOT output MATCHES "korutex_64.dll needs (astcenc|lz4|liblz4)")
  message(FATAL_ERROR "packing was refused without the reason:\n${output}")
elseif(NOT codec_names AND NOT result EQUAL 0)
  message(FATAL_ERROR "packing failed:\n${output}")
endif()

run("cpack" ${cpack} -B "${WORK_DIR}/packages" -D CPACK_KORUTEX_ANY_CODECS=ON)
set(name "korutex-${VERSION}-windows-x64")
file(ARCHIVE_EXTRACT INPUT "${WORK_DIR}/packages/${name}.zip" DESTINATION "${WORK_DIR}/unpacked")

file(GLOB_RECURSE contents RELATIVE "${WORK_DIR}/unpacked/${name}" "${WORK_DIR}/unpacked/${name}/*")
list(FILTER contents EXCLUDE REGEX "^docs/")
list(SORT contents)
file(STRINGS "${EXPECTED}" expected)
if(NOT EXISTS "${WORK_DIR}/unpacked/${name}/docs/integrations/windows-imaging.md")
  message(FATAL_ERROR "the ZIP has no page about the decoder")
endif()
if(NOT contents STREQUAL expected)
  list(JOIN contents "\n" contents)
  message(FATAL_ERROR "the ZIP holds:\n${contents}")
endif()
run("the unpacked program" ${EMULATOR} "${WORK_DIR}/unpacked/${name}/bin/korutex.exe" --version)
