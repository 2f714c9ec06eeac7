# 64-bit Windows with mingw-w64, POSIX threads, the system's own unwind tables.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
include("${CMAKE_CURRENT_LIST_DIR}/mingw.cmake")
