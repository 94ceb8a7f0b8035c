include("${CMAKE_CURRENT_LIST_DIR}/check_common.cmake")
read_library(text -p)

# "[   0] NAME", in newer releases "[   0] +base[   1]  0000 NAME", up to the next empty line.
string(FIND "${text}" "[Ordinal/Name Pointer] Table" start)
if(start EQUAL -1)
  message(FATAL_ERROR "${LIBRARY} has no export table")
endif()
string(SUBSTRING "${text}" ${start} -1 table)
string(FIND "${table}" "\n\n" end)
string(SUBSTRING "${table}" 0 ${end} table)
string(REGEX MATCHALL "[A-Za-z0-9_@?$.]+(\n|$)" names "${table}")
list(TRANSFORM names STRIP)
list(REMOVE_ITEM names Table "")
compare_exports("${names}")

string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${text}")
list(TRANSFORM imports REPLACE "^DLL Name: " "")
list(TRANSFORM imports STRIP)
set(allowed "KERNEL32.dll" "ADVAPI32.dll" "msvcrt.dll" "ucrtbase.dll" "api-ms-win-.*")
foreach(codec IN LISTS CODECS)
  list(APPEND allowed "(lib)?${codec}[^/]*\\.dll")
endforeach()
check_dependencies("${imports}" ${allowed})

require_text("${text}" "DYNAMIC_BASE" "HIGH_ENTROPY_VA" "NX_COMPAT" "ImageBase[ \t]+0000000180000000"
  "Name[ \t]+[0-9a-f]+ korutex_64\\.dll" "Entry 2 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* Resource Directory")
