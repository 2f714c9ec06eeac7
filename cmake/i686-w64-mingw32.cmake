# 32-bit Windows with mingw-w64, POSIX threads, DWARF unwinding.
# On Debian the compiler is called ...-posix; on a Windows host the plain name is the same thing.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

find_program(CMAKE_C_COMPILER NAMES i686-w64-mingw32-gcc-posix i686-w64-mingw32-gcc REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES i686-w64-mingw32-g++-posix i686-w64-mingw32-g++ REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES i686-w64-mingw32-windres windres REQUIRED)

# Headers and libraries of the target only; programs of the host. Packages also from where CMAKE_PREFIX_PATH says.
set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Elsewhere than on Windows what was built runs under Wine; in the checkout, under our wrapper of it.
if(NOT CMAKE_HOST_WIN32)
    get_filename_component(cv_tools "${CMAKE_CURRENT_LIST_DIR}/../tools" ABSOLUTE)
    if(EXISTS "${cv_tools}/wine")
        set(CMAKE_CROSSCOMPILING_EMULATOR "${cv_tools}/wine")
    else()
        set(CMAKE_CROSSCOMPILING_EMULATOR wine)
    endif()
endif()
