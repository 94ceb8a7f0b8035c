# The program: as hardened as the library, and loaded anywhere.
include("${CMAKE_CURRENT_LIST_DIR}/check_common.cmake")

read_library(text -p)
if(FORMAT STREQUAL "pe")
  check_pe_hardening("${text}")
else()
  check_elf_hardening("${text}")
  require_text("${text}" "FLAGS_1 +0x[0-9a-f]*[89a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f]\n")  # PIE
endif()
