# What the shared library gets beyond an ordinary target: exports, hardening, its name and version.

# For everything that becomes part of the library.
function(korutex_harden_code target)
  if(MSVC OR KORUTEX_SANITIZE)
    return()
  endif()
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  if(MINGW)
    # The checks live in a library of the compiler's; whatever links these objects needs it.
    target_link_options(${target} PUBLIC -fstack-protector-strong)
  else()
    # Undefined first: some distributions' compilers set another value. It needs an optimised build.
    target_compile_options(${target} PRIVATE
      "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  endif()
endfunction()

function(korutex_configure_library target)
  if(WIN32)
    enable_language(RC)
    configure_file(korutex_64.rc.in korutex_64.rc @ONLY)
    target_sources(${target} PRIVATE korutex_64.def "${CMAKE_CURRENT_BINARY_DIR}/korutex_64.rc")
    set_target_properties(${target} PROPERTIES PREFIX "")
    if(MINGW)
      # Named although they are defaults of some linkers. The base above 4 GiB is what high-entropy
      # ASLR expects; without time stamp and symbols the same sources give the same file.
      target_link_options(${target} PRIVATE
        -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat
        -Wl,--image-base,0x180000000 -Wl,--no-insert-timestamp
        $<$<CONFIG:Release>:-s>)
    endif()
    set(exports "${CMAKE_CURRENT_SOURCE_DIR}/korutex_64.def")
  else()
    set_target_properties(${target} PROPERTIES
      VERSION ${PROJECT_VERSION}
      SOVERSION ${PROJECT_VERSION_MAJOR}
      INSTALL_RPATH_USE_LINK_PATH ON)
    set(exports "${CMAKE_CURRENT_SOURCE_DIR}/korutex_64.map")
    target_link_options(${target} PRIVATE
      "LINKER:--version-script=${exports}"
      LINKER:-z,relro,-z,now,-z,noexecstack LINKER:--as-needed)
    if(NOT KORUTEX_SANITIZE)
      # Clang leaves the sanitizers' symbols to the program.
      target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
  endif()
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${exports}")
endfunction()
