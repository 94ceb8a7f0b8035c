# cmake --install: header, library, program, CMake package and pkg-config file.
include(CMakePackageConfigHelpers)

set(_korutex_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/korutex")
install(TARGETS korutex EXPORT korutex
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(EXPORT korutex NAMESPACE korutex:: FILE korutexConfig.cmake DESTINATION "${_korutex_package_dir}")

# Before 1.0 a new minor version may change the interface.
set(_korutex_compatibility SameMajorVersion)
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(_korutex_compatibility SameMinorVersion)
endif()
write_basic_package_version_file("${PROJECT_BINARY_DIR}/korutexConfigVersion.cmake"
  COMPATIBILITY ${_korutex_compatibility})
install(FILES "${PROJECT_BINARY_DIR}/korutexConfigVersion.cmake" DESTINATION "${_korutex_package_dir}")

# Paths relative to the file itself: the tree may be moved, and --prefix may be chosen at install time.
file(RELATIVE_PATH KORUTEX_PC_PREFIX
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" KORUTEX_PC_PREFIX "${KORUTEX_PC_PREFIX}")
file(RELATIVE_PATH KORUTEX_PC_LIBDIR "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_LIBDIR}")
file(RELATIVE_PATH KORUTEX_PC_INCLUDEDIR "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/korutex.pc.in" "${PROJECT_BINARY_DIR}/korutex.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/korutex.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

if(TARGET korutex_program)
  install(TARGETS korutex_program RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  if(UNIX AND NOT APPLE)
    file(RELATIVE_PATH _korutex_rpath "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    set_target_properties(korutex_program PROPERTIES INSTALL_RPATH "$ORIGIN/${_korutex_rpath}")
  endif()
endif()

# A ZIP is unpacked into a folder of its own, so the documents lie at its top.
set(_korutex_documents "${CMAKE_INSTALL_DOCDIR}")
if(WIN32)
  set(_korutex_documents .)
endif()
install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
  DESTINATION "${_korutex_documents}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION "${_korutex_documents}")

if(PROJECT_IS_TOP_LEVEL)
  include(KorutexPackages)
endif()
