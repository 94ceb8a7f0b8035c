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

require_text("${text}" "ImageBase[ \t]+0000000180000000" "Name[ \t]+[0-9a-f]+ korutex_64\\.dll"
  "Entry 2 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* Resource Directory")
check_pe_hardening("${text}")

# No time of the build: in the header, 8 bytes behind the address that stands at 0x3c, and beside the
# exports.
file(READ "${LIBRARY}" address OFFSET 60 LIMIT 4 HEX)
string(REGEX REPLACE "(..)(..)(..)(..)" "0x\\4\\3\\2\\1" address "${address}")
math(EXPR address "${address} + 8")
file(READ "${LIBRARY}" stamp OFFSET ${address} LIMIT 4 HEX)
if(NOT stamp STREQUAL "00000000")
  message(FATAL_ERROR "${LIBRARY} has the time stamp ${stamp}")
endif()
require_text("${text}" "Time/Date stamp[ \t]+0\n")
