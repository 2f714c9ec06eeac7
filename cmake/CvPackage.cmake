# What a client gets: `cmake --install` and `cpack -G ZIP` make the same tree.
#
#   bin/      CVCore16.dll and the compiler's run-time DLLs      lib/      import library, .def, CMake and pkg-config
#   include/  cvcore/                                            share/    documents, licences, samples, debugger views
#
# Every path in it is relative: the tree works from whatever folder it is put into.

include(CMakePackageConfigHelpers)

set(cv_cmake_folder lib/cmake/CVCore16)
set(cv_share_folder share/cvcore16)
set(cv_packaging "${PROJECT_SOURCE_DIR}/packaging")

# ---- Library and headers ----

install(TARGETS CVCore16 EXPORT CVCore16Targets RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
install(FILES ${cv_runtime_copies} DESTINATION bin)
install(FILES "${PROJECT_BINARY_DIR}/CVCore16.def" DESTINATION lib)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/core/h/" DESTINATION include/cvcore FILES_MATCHING PATTERN "*.h")

# ---- CMake and pkg-config ----

install(EXPORT CVCore16Targets NAMESPACE CVCore16:: DESTINATION ${cv_cmake_folder})
configure_package_config_file("${cv_packaging}/CVCore16Config.cmake.in" CVCore16Config.cmake
    INSTALL_DESTINATION ${cv_cmake_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(CVCore16ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/CVCore16Config.cmake" "${PROJECT_BINARY_DIR}/CVCore16ConfigVersion.cmake"
    "${PROJECT_SOURCE_DIR}/cmake/CVCore16Helpers.cmake"
    "${cv_packaging}/cvcore16-app.manifest" "${cv_packaging}/cvcore16-app.rc"
    DESTINATION ${cv_cmake_folder})
install(FILES "${PROJECT_SOURCE_DIR}/cmake/i686-w64-mingw32.cmake" "${PROJECT_SOURCE_DIR}/cmake/mingw.cmake"
    DESTINATION ${cv_share_folder}/cmake)

set(cv_pc_flags)
if(CVCORE_CHECKED)
    set(cv_pc_flags " -DCVCORE_CHECKED=1")
endif()
configure_file("${cv_packaging}/cvcore16.pc.in" cvcore16.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/cvcore16.pc" DESTINATION lib/pkgconfig)

# ---- Documents and samples ----

install(FILES "${cv_packaging}/README.txt" DESTINATION .)
install(FILES "${PROJECT_SOURCE_DIR}/CHANGELOG.md" DESTINATION ${cv_share_folder})
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION ${cv_share_folder})
install(DIRECTORY "${PROJECT_SOURCE_DIR}/samples" DESTINATION ${cv_share_folder})

# ---- Debuggers ----

install(FILES "${PROJECT_SOURCE_DIR}/tools/gdb/cvcore16.py" DESTINATION ${cv_share_folder}/gdb)
install(FILES "${PROJECT_SOURCE_DIR}/tools/cvcore16.natvis" DESTINATION ${cv_share_folder})

# ---- Licences ----
# The library has zlib in it and three DLLs of the compiler beside it. The texts come from where those come from:
# zlib's from the header that we compile with, the others' from the notes of the compiler's packages.

find_path(CV_ZLIB_INCLUDE zlib.h REQUIRED)
mark_as_advanced(CV_ZLIB_INCLUDE)
file(READ "${CV_ZLIB_INCLUDE}/zlib.h" zlib_notice LIMIT 4000)
if(NOT zlib_notice MATCHES "(version [^\n]*\n[ \r\n]*Copyright .*source distribution\\.)")
    message(FATAL_ERROR "${CV_ZLIB_INCLUDE}/zlib.h does not begin with its licence")
endif()
file(WRITE "${PROJECT_BINARY_DIR}/licences/zlib.txt" "zlib, ${CMAKE_MATCH_1}\n")

# FILE=NAME-IN-THE-PACKAGE, from Debian's folders of documents.
foreach(note IN ITEMS
        doc/gcc-mingw-w64-base/copyright=gcc-mingw-w64-base.txt
        doc/mingw-w64-i686-dev/copyright=mingw-w64-i686-dev.txt
        common-licenses/GPL-3=GPL-3.txt)
    string(REPLACE "=" ";" note "${note}")
    list(GET note 0 from)
    list(GET note 1 to)
    if(EXISTS "/usr/share/${from}")
        file(COPY_FILE "/usr/share/${from}" "${PROJECT_BINARY_DIR}/licences/${to}" ONLY_IF_DIFFERENT)
    endif()
endforeach()
install(FILES "${cv_packaging}/licences.txt" DESTINATION ${cv_share_folder}/licences RENAME README.txt)
install(DIRECTORY "${PROJECT_BINARY_DIR}/licences" DESTINATION ${cv_share_folder})

# ---- The archive ----

if(PROJECT_IS_TOP_LEVEL)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_VENDOR Corvane)
    set(CPACK_PACKAGE_FILE_NAME "CVCore16-${PROJECT_VERSION}-win32-mingw")
    set(CPACK_VERBATIM_VARIABLES ON)
    include(CPack)
endif()
