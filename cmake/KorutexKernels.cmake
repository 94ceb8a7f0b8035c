# Vector kernels: sources that are compiled for instruction sets above the platform's own.

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(KORUTEX_X86_KERNELS ON)
else()
  set(KORUTEX_X86_KERNELS OFF)
endif()

# korutex_add_kernels(TARGET PREFIX...)
#
# Adds PREFIX_sse41.cpp and PREFIX_avx2.cpp, each with the options of its instruction set. To be
# called in the folder that the prefixes start from. The code that chooses among kernels sees
# KORU_X86_KERNELS.
function(korutex_add_kernels target)
  if(NOT KORUTEX_X86_KERNELS)
    return()
  endif()
  target_compile_definitions(${target} PRIVATE KORU_X86_KERNELS)
  set(sse41_options $<$<NOT:$<CXX_COMPILER_ID:MSVC>>:-msse4.1>)
  set(avx2_options $<IF:$<CXX_COMPILER_ID:MSVC>,/arch:AVX2,-mavx2>)
  if(MINGW AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The compiler takes the stack to be aligned for 32-byte moves, which 64-bit Windows does not
    # promise; the assembler makes them moves that need no alignment.
    list(APPEND avx2_options -Wa,-muse-unaligned-vector-move)
  endif()
  foreach(prefix IN LISTS ARGN)
    foreach(level sse41 avx2)
      target_sources(${target} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${prefix}_${level}.cpp")
      set_source_files_properties("${CMAKE_CURRENT_SOURCE_DIR}/${prefix}_${level}.cpp" PROPERTIES
        COMPILE_OPTIONS "${${level}_options}")
    endforeach()
  endforeach()
endfunction()
