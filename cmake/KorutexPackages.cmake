# cpack: a .deb on Linux, a ZIP for Windows, of what cmake --install gives. scripts/package.sh makes the
# .deb; it must be configured with the prefix /usr, because folders depend on that.

set(KORUTEX_PACKAGE_CONTACT "The korutex developers <korutex@localhost>" CACHE STRING
    "Who answers for the packages that cpack makes: a name and an address")
mark_as_advanced(KORUTEX_PACKAGE_CONTACT)

set(CPACK_PACKAGE_NAME korutex)
set(CPACK_PACKAGE_VENDOR korutex)
set(CPACK_PACKAGE_CONTACT "${KORUTEX_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
  "The library with its header, the program korutex, a Python package, and what
lets desktop programs open ASTC, KTX and PVR files and show thumbnails of them.")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME "korutex-${PROJECT_VERSION}-windows-x64")
  set(CPACK_KORUTEX_OBJDUMP "${CMAKE_OBJDUMP}")
  set(CPACK_KORUTEX_BINARIES
    "${PROJECT_BINARY_DIR}/korutex_64.dll" "${PROJECT_BINARY_DIR}/korutex.exe" "${PROJECT_BINARY_DIR}/korutex_wic.dll")
  set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_LIST_DIR}/KorutexPackageCheck.cmake")
elseif(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/KorutexPackageFolders.cmake")
  set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
  set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
  # What the files link to, and the desktop's caches are renewed by triggers of their own packages.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/debian/prerm")
  set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "shared-mime-info, libgdk-pixbuf2.0-bin")
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS "python3, python3-numpy, python3-pil")
endif()
include(CPack)
