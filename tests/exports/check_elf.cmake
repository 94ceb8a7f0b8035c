include("${CMAKE_CURRENT_LIST_DIR}/check_common.cmake")

# Names of defined symbols. "ADDRESS FLAGS SECTION SIZE [VERSION] NAME"; undefined ones have the
# section *UND*.
function(read_names names option)
  read_library(symbols ${option})
  string(REGEX MATCHALL "\n[0-9a-f]+ [^\n]+" lines "${symbols}")
  list(FILTER lines EXCLUDE REGEX "\\*UND\\*")
  list(FILTER lines EXCLUDE REGEX "^\n[0-9a-f]+ l")
  list(TRANSFORM lines REPLACE "^.*[ \t]([^ \t]+)$" "\\1")
  set(${names} "${lines}" PARENT_SCOPE)
endfunction()

read_names(names -T)
compare_exports("${names}" 12)
if(NOT SANITIZE)
  # Nothing else is global inside either: no weak copy of a template that a host could replace.
  read_names(names -t)
  compare_exports("${names}" 12)
endif()

read_library(text -p)
string(REGEX MATCHALL "NEEDED +[^\n]+" needed "${text}")
list(TRANSFORM needed REPLACE "^NEEDED +" "")
set(allowed "libc\\.so.*" "libm\\.so.*" "libpthread\\.so.*" "libstdc\\+\\+\\.so.*" "libgcc_s\\.so.*" "ld-linux.*")
if(SANITIZE)
  list(APPEND allowed "lib[a-z]+san\\.so.*" "libclang_rt.*")
endif()
foreach(codec IN LISTS CODECS)
  list(APPEND allowed "lib${codec}[^/]*\\.so.*")
endforeach()
check_dependencies("${needed}" ${allowed})

require_text("${text}" "SONAME +libkorutex_64\\.so\\.${VERSION_MAJOR}")
check_elf_hardening("${text}")
