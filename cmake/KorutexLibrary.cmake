# What library and program get beyond ordinary targets: hardening, and for the library exports, its
# name and version.

# For everything that becomes part of the library or the program.
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
    # Windows compilers probe large stack frames without being asked.
    target_compile_options(${target} PRIVATE
      -fstack-clash-protection
      "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  endif()
endfunction()

# Named although they are defaults of some linkers.
function(korutex_harden_link target)
  if(MINGW)
    target_link_options(${target} PRIVATE -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat)
  elseif(UNIX)
    target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now,-z,noexecstack)
  endif()
endfunction()

function(korutex_harden_program target)
  korutex_harden_code(${target})
  korutex_harden_link(${target})
  if(UNIX)
    include(CheckPIESupported)
    check_pie_supported(LANGUAGES CXX)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
endfunction()

function(korutex_configure_library target)
  korutex_harden_link(${target})
  if(WIN32)
    enable_language(RC)
    configure_file(korutex_64.rc.in korutex_64.rc @ONLY)
    target_sources(${target} PRIVATE korutex_64.def "${CMAKE_CURRENT_BINARY_DIR}/korutex_64.rc")
    set_target_properties(${target} PROPERTIES PREFIX "")
    if(MINGW)
      # The base above 4 GiB is what high-entropy ASLR expects; without time stamp and symbols the
      # same sources give the same file.
      target_link_options(${target} PRIVATE
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
      "LINKER:--version-script=${exports}" LINKER:--as-needed)
    if(NOT KORUTEX_SANITIZE)
      # Clang leaves the sanitizers' symbols to the program.
      target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
  endif()
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${exports}")
endfunction()
