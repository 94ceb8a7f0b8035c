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

function(compare_exports actual)
  file(STRINGS "${EXPECTED}" expected)
  list(LENGTH expected count)
  if(NOT count EQUAL 12)
    message(FATAL_ERROR "${EXPECTED} must list twelve names")
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
