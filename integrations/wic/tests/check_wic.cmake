# The server's interface to the loader: four doors, Windows' own libraries, no time of the build.
include("${CMAKE_CURRENT_LIST_DIR}/../../../tests/exports/check_common.cmake")
read_library(text -p)

check_pe_exports("${text}" 4)
check_pe_imports("${text}" "KERNEL32.dll" "ADVAPI32.dll" "GDI32.dll" "SHELL32.dll" "ole32.dll" "msvcrt.dll"
  "ucrtbase.dll" "api-ms-win-.*")
require_text("${text}" "Name[ \t]+[0-9a-f]+ korutex_wic\\.dll"
  "Entry 2 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* Resource Directory")
check_pe_hardening("${text}")
check_pe_stamp("${text}")
