# Finds the Arm ASTC Encoder library as the target astcenc::astcenc.
#
# A CMake package (Debian has one) is preferred. Upstream installs none, so that a header and a library
# are accepted too; KORUTEX_ASTCENC_VERSION then says which release they are. ASTCENC_INCLUDE_DIR and
# ASTCENC_LIBRARY name them where a search would find others.
# Sets astcenc_FOUND and, when known, astcenc_VERSION.

if(NOT (ASTCENC_INCLUDE_DIR AND ASTCENC_LIBRARY))
  find_package(astcenc CONFIG QUIET)
endif()
include(FindPackageHandleStandardArgs)

if(TARGET astcenc::astcenc)
  find_package_handle_standard_args(astcenc CONFIG_MODE)
  return()
endif()

find_path(ASTCENC_INCLUDE_DIR NAMES astcenc.h PATH_SUFFIXES astcenc Source)

# Upstream's names carry the instruction set. Decoded bytes are the same for all of them, and the
# plainest build runs everywhere. A static library makes a self-contained one here.
set(_astcenc_names)
foreach(_isa none sse2 sse4.1 neon native avx2)
  list(APPEND _astcenc_names astcenc-${_isa}-static)
endforeach()
list(APPEND _astcenc_names astcenc)
foreach(_isa none sse2 sse4.1 neon native avx2)
  list(APPEND _astcenc_names astcenc-${_isa}-shared)
endforeach()
find_library(ASTCENC_LIBRARY NAMES ${_astcenc_names})
unset(_astcenc_names)
mark_as_advanced(ASTCENC_INCLUDE_DIR ASTCENC_LIBRARY)

set(astcenc_VERSION "${KORUTEX_ASTCENC_VERSION}")
find_package_handle_standard_args(astcenc
  REQUIRED_VARS ASTCENC_LIBRARY ASTCENC_INCLUDE_DIR
  VERSION_VAR astcenc_VERSION)

if(astcenc_FOUND)
  # Shared builds export the functions with C linkage, which the header declares only on request.
  # The file name does not tell, so ask the linker.
  include(CheckCXXSourceCompiles)
  include(CMakePushCheckState)
  cmake_push_check_state(RESET)
  set(CMAKE_REQUIRED_INCLUDES "${ASTCENC_INCLUDE_DIR}")
  set(CMAKE_REQUIRED_LIBRARIES "${ASTCENC_LIBRARY}")
  set(CMAKE_REQUIRED_DEFINITIONS -DASTCENC_DYNAMIC_LIBRARY)
  set(CMAKE_REQUIRED_QUIET TRUE)
  unset(KORUTEX_ASTCENC_HAS_C_LINKAGE CACHE)  # the library may be another one than last time
  check_cxx_source_compiles(
    "#include <astcenc.h>\nint main() { return astcenc_get_error_string(ASTCENC_SUCCESS) != nullptr; }"
    KORUTEX_ASTCENC_HAS_C_LINKAGE)
  cmake_pop_check_state()

  add_library(astcenc::astcenc UNKNOWN IMPORTED)
  set_target_properties(astcenc::astcenc PROPERTIES
    IMPORTED_LOCATION "${ASTCENC_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${ASTCENC_INCLUDE_DIR}")
  if(KORUTEX_ASTCENC_HAS_C_LINKAGE)
    set_property(TARGET astcenc::astcenc PROPERTY INTERFACE_COMPILE_DEFINITIONS ASTCENC_DYNAMIC_LIBRARY)
  endif()
  if(UNIX)
    find_package(Threads REQUIRED)
    set_property(TARGET astcenc::astcenc PROPERTY INTERFACE_LINK_LIBRARIES Threads::Threads)
  endif()
endif()
