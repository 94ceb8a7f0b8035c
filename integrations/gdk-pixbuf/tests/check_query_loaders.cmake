# What GdkPixbuf's own program finds in the module, against a cache that was written by hand.
execute_process(COMMAND "${QUERY_LOADERS}" "${MODULE}"
  OUTPUT_VARIABLE found ERROR_VARIABLE complaint RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR complaint)
  message(FATAL_ERROR "gdk-pixbuf-query-loaders: ${result} ${complaint}")
endif()
file(READ "${EXPECTED}" expected)
# The comments tell which release wrote it.
string(REGEX REPLACE "(^|\n)#[^\n]*" "" found "${found}")
string(STRIP "${found}" found)
string(STRIP "${expected}" expected)
if(NOT found STREQUAL expected)
  message(FATAL_ERROR "found:\n${found}\n\nexpected:\n${expected}")
endif()
message("1 passed, 0 failed, 0 skipped")
