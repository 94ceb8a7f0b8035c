# How every target of this project is compiled: language, warnings, sanitizers.

function(korutex_configure_target target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    C_STANDARD 99
    C_EXTENSIONS OFF)
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" AND NOT MSVC)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
    if(KORUTEX_WARNINGS_AS_ERRORS)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(KORUTEX_SANITIZE)
      target_compile_options(${target} PRIVATE
        -fsanitize=${KORUTEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
      target_link_options(${target} PRIVATE -fsanitize=${KORUTEX_SANITIZE})
    endif()
  endif()
  if(MINGW)
    # Programs and the library carry the C++ runtime along.
    target_link_options(${target} PRIVATE -static)
  endif()
endfunction()

# For test programs: they are compiled far more often than they run long, and optimising them is most
# of a build's time. Behind the build type's own flags, so these count; a Debug build keeps its -O0.
set(KORUTEX_QUICK_OPTIONS)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" AND NOT MSVC)
  set(KORUTEX_QUICK_OPTIONS $<$<CONFIG:Release,MinSizeRel>:-O1> $<$<CONFIG:RelWithDebInfo>:-Og;-g1>)
endif()
function(korutex_compile_quickly target)
  target_compile_options(${target} PRIVATE ${KORUTEX_QUICK_OPTIONS})
endfunction()

# The same for single files of a program, given as in its list: those that run once and take long to
# compile because of the headers that they need.
function(korutex_compile_files_quickly)
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS "${KORUTEX_QUICK_OPTIONS}")
endfunction()
