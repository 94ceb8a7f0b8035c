# Shared by the checks of both file formats.

# The tool's output for a file.
function(read_object text file)
  execute_process(COMMAND "${TOOL}" ${ARGN} "${file}"
    OUTPUT_VARIABLE output RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${TOOL} cannot read ${file}")
  endif()
  set(${text} "${output}" PARENT_SCOPE)
endfunction()

function(read_library text)
  read_object(output "${LIBRARY}" ${ARGN})
  set(${text} "${output}" PARENT_SCOPE)
endfunction()

# Against the names in the file EXPECTED.
function(compare_exports actual count)
  file(STRINGS "${EXPECTED}" expected)
  list(LENGTH expected expected_count)
  if(NOT expected_count EQUAL count)
    message(FATAL_ERROR "${EXPECTED} must list ${count} names")
  endif()
  list(SORT expected)
  list(SORT actual)
  if(NOT actual STREQUAL expected)
    message(FATAL_ERROR "exports are\n  ${actual}\nbut should be\n  ${expected}")
  endif()
endfunction()

# Every name of `names` must match one of the patterns.
function(check_dependencies names)
  foreach(name IN LISTS names)
    set(known FALSE)
    foreach(pattern IN LISTS ARGN)
      if(name MATCHES "^(${pattern})$")
        set(known TRUE)
      endif()
    endforeach()
    if(NOT known)
      message(FATAL_ERROR "needs ${name}, which hosts may not have")
    endif()
  endforeach()
endfunction()

function(require_text text)
  foreach(pattern IN LISTS ARGN)
    if(NOT text MATCHES "${pattern}")
      message(FATAL_ERROR "missing in ${LIBRARY}: ${pattern}")
    endif()
  endforeach()
endfunction()

function(refuse_text text)
  foreach(pattern IN LISTS ARGN)
    if(text MATCHES "${pattern}")
      message(FATAL_ERROR "not wanted in ${LIBRARY}: ${CMAKE_MATCH_0}")
    endif()
  endforeach()
endfunction()

# What library and program have in common; `text` is what objdump -p says.

function(check_elf_hardening text)
  # Everything that is relocated is read-only before the first call; code and data are apart. The last
  # bit of FLAGS_1 is "now", bit 2 of FLAGS "text relocations".
  require_text("${text}" " RELRO off" "FLAGS_1 +0x[0-9a-f]*[13579bdf]\n" "STACK off[^\n]+\n[^\n]+flags rw-"
    "flags r-x")
  refuse_text("${text}" "flags .wx" "TEXTREL" "FLAGS +0x[0-9a-f]*[4567cdef]\n")
  if(NOT SANITIZE)
    read_library(symbols -T)
    require_text("${symbols}" "\\*UND\\*[^\n]* __stack_chk_fail")
  endif()
endfunction()

# "[   0] NAME", in newer releases "[   0] +base[   1]  0000 NAME", up to the next empty line.
function(check_pe_exports text count)
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
  compare_exports("${names}" ${count})
endfunction()

# Every DLL that is imported must match one of the patterns.
function(check_pe_imports text)
  string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${text}")
  list(TRANSFORM imports REPLACE "^DLL Name: " "")
  list(TRANSFORM imports STRIP)
  check_dependencies("${imports}" ${ARGN})
endfunction()

# No time of the build: in the header, 8 bytes behind the address that stands at 0x3c, and beside the
# exports.
function(check_pe_stamp text)
  file(READ "${LIBRARY}" address OFFSET 60 LIMIT 4 HEX)
  string(REGEX REPLACE "(..)(..)(..)(..)" "0x\\4\\3\\2\\1" address "${address}")
  math(EXPR address "${address} + 8")
  file(READ "${LIBRARY}" stamp OFFSET ${address} LIMIT 4 HEX)
  if(NOT stamp STREQUAL "00000000")
    message(FATAL_ERROR "${LIBRARY} has the time stamp ${stamp}")
  endif()
  require_text("${text}" "Time/Date stamp[ \t]+0\n")
endfunction()

function(check_pe_hardening text)
  # Entry 5: a file that says DYNAMIC_BASE without relocations stays where it is.
  require_text("${text}" "DYNAMIC_BASE" "HIGH_ENTROPY_VA" "NX_COMPAT" "large address aware"
    "Entry 5 0*[1-9a-f][0-9a-f]* 0*[1-9a-f][0-9a-f]* Base Relocation Directory")
  refuse_text("${text}" "relocations stripped")

  read_library(sections -h)
  require_text("${sections}" "READONLY, CODE")
  string(REGEX MATCHALL "\n +CONTENTS[^\n]+CODE" code "${sections}")
  foreach(section IN LISTS code)
    if(NOT section MATCHES "READONLY")
      message(FATAL_ERROR "${LIBRARY} has code that may be written")
    endif()
  endforeach()

  # The runtime is linked statically, and its symbols are stripped; its message stays.
  if(NOT SANITIZE)
    file(STRINGS "${LIBRARY}" message REGEX "stack smashing detected")
    if(NOT message)
      message(FATAL_ERROR "${LIBRARY} has no stack protector")
    endif()
  endif()
endfunction()
