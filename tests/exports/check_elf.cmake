include("${CMAKE_CURRENT_LIST_DIR}/check_common.cmake")

# "ADDRESS FLAGS SECTION SIZE [VERSION] NAME"; undefined symbols have the section *UND*.
read_library(symbols -T)
string(REGEX MATCHALL "\n[0-9a-f]+ [^\n]+" lines "${symbols}")
list(FILTER lines EXCLUDE REGEX "\\*UND\\*")
list(TRANSFORM lines REPLACE "^.*[ \t]([^ \t]+)$" "\\1")
compare_exports("${lines}")

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

require_text("${text}" "SONAME +libkorutex_64\\.so\\.${VERSION_MAJOR}" " RELRO off" "BIND_NOW|FLAGS_1 +0x0*[13579bdf]\n"
  "STACK off[^\n]+\n[^\n]+flags rw-")
