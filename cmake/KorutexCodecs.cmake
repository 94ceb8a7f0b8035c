# The codecs as the targets korutex_astcenc and korutex_lz4: a found package, or sources that the user names.
# KORUTEX_ASTCENC_RELEASE is the release of the ASTC codec, empty if unknown.

set(KORUTEX_ASTCENC_VERSION "" CACHE STRING
    "Release of the Arm ASTC Encoder, for libraries that do not tell it themselves")
option(KORUTEX_ASTCENC_SSE41 "Compile KORUTEX_ASTCENC_SOURCE_DIR for SSE4.1 and POPCNT" OFF)

# Decoded bytes are the same from 3.4 to 4.6, on every platform and instruction set.
function(_korutex_check_astcenc_release release)
  if(release STREQUAL "")
    message(WARNING "korutex: the release of the ASTC codec is unknown. It must be 3.4 to 4.6 for exact pixels; "
      "state it with -DKORUTEX_ASTCENC_VERSION=x.y.z.")
  elseif(release VERSION_LESS 3.4)
    message(FATAL_ERROR "korutex: astcenc ${release} decodes error blocks wrongly; 3.4 or later is required.")
  elseif(release VERSION_GREATER_EQUAL 4.7)
    message(WARNING "korutex: astcenc ${release} rounds differently from 3.4 to 4.6: "
      "pixels of ASTC images may differ by one.")
  endif()
endfunction()

function(_korutex_add_codec_sources target)
  add_library(${target} STATIC EXCLUDE_FROM_ALL ${ARGN})
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    C_VISIBILITY_PRESET hidden
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  if(NOT MSVC)
    target_compile_options(${target} PRIVATE -w)
  endif()
endfunction()

# --- Arm ASTC Encoder ---

add_library(korutex_astcenc INTERFACE)
if(KORUTEX_ASTCENC_SOURCE_DIR)
  set(KORUTEX_ASTCENC_RELEASE "${KORUTEX_ASTCENC_VERSION}")
  if(EXISTS "${KORUTEX_ASTCENC_SOURCE_DIR}/CMakeLists.txt")
    file(READ "${KORUTEX_ASTCENC_SOURCE_DIR}/CMakeLists.txt" _korutex_text)
    if(_korutex_text MATCHES "project[ \t\r\n]*\\([^)]*VERSION[ \t\r\n]+([0-9]+(\\.[0-9]+)+)")
      set(KORUTEX_ASTCENC_RELEASE "${CMAKE_MATCH_1}")
    endif()
    unset(_korutex_text)
  endif()
  _korutex_check_astcenc_release("${KORUTEX_ASTCENC_RELEASE}")

  # The command line program's files are named astcenccli_*.
  file(GLOB _korutex_sources CONFIGURE_DEPENDS "${KORUTEX_ASTCENC_SOURCE_DIR}/Source/astcenc_*.cpp")
  if(NOT _korutex_sources)
    message(FATAL_ERROR "korutex: no Source/astcenc_*.cpp in ${KORUTEX_ASTCENC_SOURCE_DIR}")
  endif()
  _korutex_add_codec_sources(korutex_astcenc_static ${_korutex_sources})
  unset(_korutex_sources)
  target_compile_features(korutex_astcenc_static PRIVATE cxx_std_14)
  target_include_directories(korutex_astcenc_static SYSTEM PUBLIC "${KORUTEX_ASTCENC_SOURCE_DIR}/Source")
  if(MSVC)
    target_compile_options(korutex_astcenc_static PRIVATE /fp:precise)
  else()
    # A fused multiply-add rounds once instead of twice and changes pixels.
    target_compile_options(korutex_astcenc_static PRIVATE -ffp-contract=off -fno-fast-math)
    if(KORUTEX_ASTCENC_SSE41)
      target_compile_options(korutex_astcenc_static PRIVATE -msse4.1 -mpopcnt)
    endif()
  endif()
  find_package(Threads REQUIRED)
  target_link_libraries(korutex_astcenc_static PRIVATE Threads::Threads)
  target_link_libraries(korutex_astcenc INTERFACE korutex_astcenc_static)
else()
  find_package(astcenc REQUIRED)
  set(KORUTEX_ASTCENC_RELEASE "${astcenc_VERSION}")
  if(KORUTEX_ASTCENC_RELEASE STREQUAL "")
    set(KORUTEX_ASTCENC_RELEASE "${KORUTEX_ASTCENC_VERSION}")
  endif()
  _korutex_check_astcenc_release("${KORUTEX_ASTCENC_RELEASE}")
  target_link_libraries(korutex_astcenc INTERFACE astcenc::astcenc)
endif()

# --- LZ4 ---

add_library(korutex_lz4 INTERFACE)
if(KORUTEX_LZ4_SOURCE_DIR)
  if(NOT EXISTS "${KORUTEX_LZ4_SOURCE_DIR}/lib/lz4.c")
    message(FATAL_ERROR "korutex: no lib/lz4.c in ${KORUTEX_LZ4_SOURCE_DIR}")
  endif()
  _korutex_add_codec_sources(korutex_lz4_static "${KORUTEX_LZ4_SOURCE_DIR}/lib/lz4.c")
  target_compile_definitions(korutex_lz4_static PRIVATE LZ4LIB_VISIBILITY=)
  target_include_directories(korutex_lz4_static SYSTEM PUBLIC "${KORUTEX_LZ4_SOURCE_DIR}/lib")
  target_link_libraries(korutex_lz4 INTERFACE korutex_lz4_static)
else()
  find_package(lz4 CONFIG QUIET)
  # A Windows library shall need system DLLs alone, if the package leaves the choice.
  set(_korutex_candidates LZ4::lz4 LZ4::lz4_shared LZ4::lz4_static lz4::lz4)
  if(WIN32)
    set(_korutex_candidates LZ4::lz4_static LZ4::lz4 LZ4::lz4_shared lz4::lz4)
  endif()
  set(_korutex_lz4)
  foreach(_korutex_candidate IN LISTS _korutex_candidates)
    if(NOT _korutex_lz4 AND TARGET ${_korutex_candidate})
      set(_korutex_lz4 ${_korutex_candidate})
    endif()
  endforeach()

  if(NOT _korutex_lz4)
    find_package(PkgConfig QUIET)
    if(PkgConfig_FOUND)
      if(CMAKE_CROSSCOMPILING)
        # Only packages of the target system; a plain search would give this machine's own.
        set(_korutex_pc_saved "$ENV{PKG_CONFIG_LIBDIR}")
        list(TRANSFORM CMAKE_FIND_ROOT_PATH APPEND "/lib/pkgconfig" OUTPUT_VARIABLE _korutex_pc_dirs)
        list(JOIN _korutex_pc_dirs ":" _korutex_pc_dirs)
        set(ENV{PKG_CONFIG_LIBDIR} "${_korutex_pc_dirs}")
      endif()
      pkg_check_modules(KORUTEX_PC_LZ4 QUIET IMPORTED_TARGET liblz4)
      if(CMAKE_CROSSCOMPILING)
        if(_korutex_pc_saved)
          set(ENV{PKG_CONFIG_LIBDIR} "${_korutex_pc_saved}")
        else()
          unset(ENV{PKG_CONFIG_LIBDIR})
        endif()
      endif()
      if(KORUTEX_PC_LZ4_FOUND)
        set(_korutex_lz4 PkgConfig::KORUTEX_PC_LZ4)
      endif()
    endif()
  endif()

  if(NOT _korutex_lz4)
    message(FATAL_ERROR "korutex: LZ4 was found neither as a CMake package nor by pkg-config; "
      "name its sources with -DKORUTEX_LZ4_SOURCE_DIR=...")
  endif()
  target_link_libraries(korutex_lz4 INTERFACE ${_korutex_lz4})
endif()
