# What the toolchain files share: mingw-w64 for CMAKE_SYSTEM_PROCESSOR, POSIX threads.
# On Debian the compiler is called ...-posix; on a Windows host the plain name is the same thing.
set(CMAKE_SYSTEM_NAME Windows)

set(cv_triplet ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
find_program(CMAKE_C_COMPILER NAMES ${cv_triplet}-gcc-posix ${cv_triplet}-gcc REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES ${cv_triplet}-g++-posix ${cv_triplet}-g++ REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES ${cv_triplet}-windres windres REQUIRED)

# Headers and libraries of the target only; programs of the host. Packages also from where CMAKE_PREFIX_PATH says.
set(CMAKE_FIND_ROOT_PATH /usr/${cv_triplet})
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
