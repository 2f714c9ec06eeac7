# 32-bit Windows with mingw-w64, POSIX threads, DWARF unwinding.
set(CMAKE_SYSTEM_PROCESSOR i686)
include("${CMAKE_CURRENT_LIST_DIR}/mingw.cmake")
