include("${CMAKE_CURRENT_LIST_DIR}/check_common.cmake")
read_library(text -p)

check_pe_exports("${text}" 12)
set(allowed "KERNEL32.dll" "ADVAPI32.dll" "msvcrt.dll" "ucrtbase.dll" "api-ms-win-.*")
foreach(codec IN LISTS CODECS)
  list(APPEND allowed "(lib)?${codec}[^/]*\\.dll")
endforeach()
check_pe_imports("${text}" ${allowed})

require_text("${text}" "ImageBase[ \t]+0000000180000000" "Name[ \t]+[0-9a-f]+ korutex_64\\.dll"
  "Entry 2 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* Resource Directory")
check_pe_hardening("${text}")
check_pe_stamp("${text}")
