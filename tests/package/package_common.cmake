# Shared by the package checks.

# run(WHAT command...): fails with the command's output.
function(run what)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${what} failed (${result}):\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# The arguments that configure another project as this one was.
set(configure_arguments -G "${GENERATOR}" -DCMAKE_BUILD_TYPE=Release)
if(TOOLCHAIN_FILE)
  list(APPEND configure_arguments "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}")
else()
  list(APPEND configure_arguments "-DCMAKE_C_COMPILER=${C_COMPILER}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")
endif()
