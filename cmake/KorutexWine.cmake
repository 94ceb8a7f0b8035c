# Lets CTest run Windows programs under Wine. Sets KORUTEX_WINE_COMMAND, the command to put before one;
# it stays empty where programs run by themselves or Wine is missing.

set(KORUTEX_WINE_COMMAND)
if(WIN32 AND CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  find_program(KORUTEX_WINE NAMES wine64 wine64-stable HINTS /usr/lib/wine)
  find_program(KORUTEX_WINESERVER NAMES wineserver64 wineserver wineserver-stable HINTS /usr/lib/wine)
  mark_as_advanced(KORUTEX_WINE KORUTEX_WINESERVER)
  if(KORUTEX_WINE AND KORUTEX_WINESERVER)
    # Codecs that are DLLs must be found at run time, be they real ones or the bridge.
    set(_korutex_dirs)
    foreach(_korutex_codec astcenc::astcenc LZ4::lz4 LZ4::lz4_shared lz4::lz4)
      if(TARGET ${_korutex_codec})
        get_target_property(_korutex_dll ${_korutex_codec} IMPORTED_LOCATION)
        if(_korutex_dll MATCHES "\\.dll$")
          get_filename_component(_korutex_dir "${_korutex_dll}" DIRECTORY)
          list(APPEND _korutex_dirs "${_korutex_dir}")
        endif()
      endif()
    endforeach()
    list(REMOVE_DUPLICATES _korutex_dirs)
    list(JOIN _korutex_dirs ":" KORUTEX_WINE_DLL_DIRS)
    # Programs in subfolders find the library itself this way.
    list(APPEND _korutex_dirs "${PROJECT_BINARY_DIR}")
    list(TRANSFORM _korutex_dirs PREPEND "Z:")
    list(JOIN _korutex_dirs ";" KORUTEX_WINE_PATH)
    string(REPLACE "/" "\\" KORUTEX_WINE_PATH "${KORUTEX_WINE_PATH}")

    configure_file("${CMAKE_CURRENT_LIST_DIR}/../tests/wine/run_wine.sh.in" "${PROJECT_BINARY_DIR}/run_wine.sh" @ONLY
      FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    set(KORUTEX_WINE_COMMAND "${PROJECT_BINARY_DIR}/run_wine.sh")
    set(CMAKE_CROSSCOMPILING_EMULATOR "${KORUTEX_WINE_COMMAND}")
  endif()
endif()
