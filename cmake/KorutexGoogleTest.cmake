# GoogleTest as GTest::gtest and GTest::gtest_main, and the function that adds a test program. Built
# from sources where they are at hand: that works for every target system and sanitizer.

set(KORUTEX_GOOGLETEST_SOURCE_DIR "/usr/src/googletest" CACHE PATH
    "Sources of GoogleTest; without a CMakeLists.txt there: find_package(GTest)")

if(NOT TARGET GTest::gtest_main)
  if(EXISTS "${KORUTEX_GOOGLETEST_SOURCE_DIR}/CMakeLists.txt")
    set(INSTALL_GTEST OFF)
    set(BUILD_GMOCK OFF)
    set(BUILD_SHARED_LIBS OFF)
    set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
    set(CMAKE_SUPPRESS_DEVELOPER_WARNINGS ON)
    add_subdirectory("${KORUTEX_GOOGLETEST_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
    unset(CMAKE_SUPPRESS_DEVELOPER_WARNINGS)
    unset(CMAKE_POLICY_DEFAULT_CMP0077)
    unset(BUILD_SHARED_LIBS)
    foreach(_target gtest gtest_main)
      target_compile_features(${_target} PUBLIC cxx_std_14)
      korutex_compile_quickly(${_target})
      if(KORUTEX_SANITIZE)
        target_compile_options(${_target} PRIVATE -fsanitize=${KORUTEX_SANITIZE} -fno-omit-frame-pointer)
      endif()
      # Tests must not inherit the project's warnings from its headers.
      get_target_property(_includes ${_target} INTERFACE_INCLUDE_DIRECTORIES)
      set_target_properties(${_target} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${_includes}")
    endforeach()
  else()
    find_package(GTest REQUIRED)
  endif()
endif()

# korutex_add_test(NAME [INTERFACE] SOURCES file... [LIBRARIES target...] [ARGUMENTS arg...])
#
# One program, one CTest entry: starting Wine for every single test would take minutes.
# INTERFACE: the program is a host, linked to the shared library; otherwise it sees the internals.
function(korutex_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "INTERFACE" "" "SOURCES;LIBRARIES;ARGUMENTS")
  add_executable(${name} ${arg_SOURCES})
  korutex_configure_target(${name})
  korutex_compile_quickly(${name})
  if(arg_INTERFACE)
    target_link_libraries(${name} PRIVATE korutex)
  else()
    target_link_libraries(${name} PRIVATE korutex_objects)
  endif()
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gtest_main)
  korutex_precompile_test(${name})
  add_test(NAME ${name} COMMAND ${name} ${arg_ARGUMENTS})
endfunction()

# korutex_precompile_test(TARGET)
#
# Lets a target that is compiled like korutex_test_support share its precompiled headers. Tests only:
# a file of the library must not see what it does not include.
function(korutex_precompile_test target)
  if(KORUTEX_PRECOMPILE_TESTS)
    target_precompile_headers(${target} REUSE_FROM korutex_test_support)
    # They know nothing of C, and nothing of the library's own files that are compiled once more.
    get_target_property(_sources ${target} SOURCES)
    list(FILTER _sources INCLUDE REGEX "(\\.c|/src/.*\\.cpp)$")
    if(_sources)
      set_source_files_properties(${_sources} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endif()
  endif()
endfunction()

# korutex_test_kernels(NAME LEVEL...)
#
# Further CTest entries of a program with support/kernel_main.cpp: one for each level of kernels. A
# machine that cannot run a level skips it.
function(korutex_test_kernels name)
  foreach(level IN LISTS ARGN)
    add_test(NAME ${name}_${level} COMMAND ${name} --kernels=${level})
    set_tests_properties(${name}_${level} PROPERTIES SKIP_RETURN_CODE 77)
  endforeach()
endfunction()
