# Run by cpack before it packs for Windows: the library must not need DLLs that other machines lack. With
# codecs linked statically it needs the system's alone.
cmake_minimum_required(VERSION 3.23)
if(CPACK_KORUTEX_ANY_CODECS)  # for tests of the package itself
  return()
endif()

set(_system_dlls kernel32 msvcrt advapi32 ucrtbase)
execute_process(COMMAND "${CPACK_KORUTEX_OBJDUMP}" -p "${CPACK_KORUTEX_LIBRARY}"
  OUTPUT_VARIABLE _text RESULT_VARIABLE _result)
if(NOT _result EQUAL 0)
  message(FATAL_ERROR "korutex: the imports of ${CPACK_KORUTEX_LIBRARY} cannot be read")
endif()
string(REGEX MATCHALL "DLL Name: [^\r\n]+" _lines "${_text}")
foreach(_line IN LISTS _lines)
  string(REGEX REPLACE "DLL Name: (.*)\\.dll$" "\\1" _name "${_line}")
  string(TOLOWER "${_name}" _name)
  if(NOT _name IN_LIST _system_dlls AND NOT _name MATCHES "^api-ms-win-")
    message(FATAL_ERROR "korutex: no package for Windows: korutex_64.dll needs ${_name}.dll, which other "
      "machines lack. Build the codecs in: -DKORUTEX_ASTCENC_SOURCE_DIR=... -DKORUTEX_LZ4_SOURCE_DIR=...")
  endif()
endforeach()
