# Compares the interface, as debug information tells it, with the committed description; UPDATE
# replaces the latter.

execute_process(
  COMMAND "${ABIDW}" --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed
    --exported-interfaces-only --out-file "${WORK_DIR}/actual.abi" "${LIBRARY}"
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "abidw cannot read ${LIBRARY}")
endif()

# abidiff would find two empty descriptions alike.
file(READ "${WORK_DIR}/actual.abi" text)
string(REGEX MATCHALL "<function-decl name='KORU_[A-Za-z_]+'" functions "${text}")
list(LENGTH functions count)
if(NOT count EQUAL 12 OR NOT text MATCHES "name='KORU_Image' size-in-bits='512'")
  message(FATAL_ERROR "${WORK_DIR}/actual.abi tells of ${count} functions, or not of the record")
endif()

if(UPDATE)
  # The path of a source says where it was built.
  string(REGEX REPLACE " path='[^']*'" "" text "${text}")
  file(WRITE "${BASELINE}" "${text}")
  message(STATUS "${BASELINE} is new")
  return()
endif()

execute_process(
  COMMAND "${ABIDIFF}" --harmless "${BASELINE}" "${WORK_DIR}/actual.abi"
  OUTPUT_VARIABLE report ERROR_VARIABLE report RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the interface changed (${result}):\n${report}"
    "If that is meant: cmake --build build/release --target update_abi_baseline")
endif()
