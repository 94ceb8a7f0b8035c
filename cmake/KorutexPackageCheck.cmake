# Run by cpack before it packs for Windows: nothing may need DLLs that other machines lack. With codecs linked
# statically, the system's and korutex_64.dll are enough.
cmake_minimum_required(VERSION 3.23)
if(CPACK_KORUTEX_ANY_CODECS)  # for tests of the package itself
  return()
endif()

set(_known_dlls kernel32 msvcrt advapi32 ucrtbase gdi32 ole32 shell32 korutex_64)
foreach(_binary IN LISTS CPACK_KORUTEX_BINARIES)
  if(NOT EXISTS "${_binary}")  # not part of this build
    continue()
  endif()
  get_filename_component(_binary_name "${_binary}" NAME)
  execute_process(COMMAND "${CPACK_KORUTEX_OBJDUMP}" -p "${_binary}"
    OUTPUT_VARIABLE _text RESULT_VARIABLE _result)
  string(REGEX MATCHALL "DLL Name: [^\r\n]+" _lines "${_text}")
  if(NOT _result EQUAL 0 OR NOT _lines)
    message(FATAL_ERROR "korutex: the imports of ${_binary} cannot be read")
  endif()
  foreach(_line IN LISTS _lines)
    string(TOLOWER "${_line}" _name)
    string(REGEX REPLACE "dll name: *(.*)\\.dll *$" "\\1" _name "${_name}")
    if(NOT _name IN_LIST _known_dlls AND NOT _name MATCHES "^api-ms-win-")
      message(FATAL_ERROR "korutex: no package for Windows: ${_binary_name} needs ${_name}.dll, which other "
        "machines lack. Build the codecs in: -DKORUTEX_ASTCENC_SOURCE_DIR=... -DKORUTEX_LZ4_SOURCE_DIR=...")
    endif()
  endforeach()
endforeach()
