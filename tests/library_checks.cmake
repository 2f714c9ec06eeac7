# What is promised about the DLL as a file.
find_program(CV_BASH bash NO_CMAKE_FIND_ROOT_PATH)
find_program(CV_CXXFILT NAMES ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-c++filt c++filt NO_CMAKE_FIND_ROOT_PATH REQUIRED)
mark_as_advanced(CV_BASH CV_CXXFILT)

# Floors 1 to 3 in a program without windows: their objects linked straight in.
add_executable(console_test console.cpp)
cv_own_code(console_test)
target_compile_definitions(console_test PRIVATE CVCORE_STATIC)
target_include_directories(console_test PRIVATE "${PROJECT_SOURCE_DIR}/tests")
target_link_libraries(console_test PRIVATE cvbase test_support)
target_link_options(console_test PRIVATE LINKER:--exclude-all-symbols)
cv_run_as_test(console)

if(NOT CV_BASH)
    return()
endif()

add_test(NAME console_imports COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/no_windows_check.sh"
    "${CMAKE_OBJDUMP}" "$<TARGET_FILE:console_test>")
add_test(NAME dll_file COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/dll_file_check.sh"
    "${CMAKE_OBJDUMP}" "${CV_CXXFILT}" "$<TARGET_FILE:CVCore16>" "${PROJECT_BINARY_DIR}/CVCore16.def"
    "${PROJECT_SOURCE_DIR}/core")
# The promise is about what is shipped. The names have the types of arguments in them, which have another size on 64 bits.
if(CMAKE_BUILD_TYPE STREQUAL "Release")
    set(width)
    if(CMAKE_SIZEOF_VOID_P EQUAL 8)
        set(width --win64)
    endif()
    add_test(NAME exports COMMAND "${PROJECT_SOURCE_DIR}/tools/renew-exports" --check ${width}
        "${PROJECT_BINARY_DIR}/CVCore16.def")
endif()

add_test(NAME cface_abi COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/cface_abi_check.sh"
    "${CMAKE_OBJDUMP}" "${PROJECT_SOURCE_DIR}" "$<TARGET_FILE:CVCore16>")

# The samples, as a person starts them.
if(CMAKE_CROSSCOMPILING_EMULATOR)
    foreach(sample IN ITEMS cclient concordance desk expand faults filetool first gallery letters)
        add_test(NAME ${sample} COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/${sample}_check.sh"
            "${PROJECT_SOURCE_DIR}/tools" "$<TARGET_FILE:${sample}>" "${PROJECT_SOURCE_DIR}")
        set_tests_properties(${sample} PROPERTIES TIMEOUT 120)
    endforeach()
    set_tests_properties(desk gallery PROPERTIES RESOURCE_LOCK desktop)
    # Checked builds, and those for other widths, have other sizes of blocks.
    if(CMAKE_BUILD_TYPE STREQUAL "Release" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
        add_test(NAME samples COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/samples_check.sh"
            "${PROJECT_SOURCE_DIR}/tools" "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}" "${PROJECT_SOURCE_DIR}")
        set_tests_properties(samples PROPERTIES TIMEOUT 120 RESOURCE_LOCK desktop)
    endif()
endif()
# The debugger's views, on a program that has one of everything. What follows is for 32 bits alone: GDB under Wine, and what is
# shipped.
if(CMAKE_CROSSCOMPILING_EMULATOR AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    find_program(CV_GDB NAMES i686-w64-mingw32-gdb NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    mark_as_advanced(CV_GDB)
    add_executable(debugviews support/debugviews.cpp)
    cv_own_code(debugviews)
    target_compile_options(debugviews PRIVATE -g -O0)
    target_link_libraries(debugviews PRIVATE CVCore16)
    add_dependencies(debugviews runtime_dlls)
    add_test(NAME debugviews COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/debugviews_check.sh"
        "${PROJECT_SOURCE_DIR}" "${CV_GDB}" "$<TARGET_FILE:debugviews>")
    set_tests_properties(debugviews PROPERTIES TIMEOUT 120)
endif()

add_test(NAME readme COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/readme_check.sh" "${PROJECT_SOURCE_DIR}")

# The code in the guides is that of samples and tests.
file(GLOB cv_shown_code CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/samples/*.h"
    "${PROJECT_SOURCE_DIR}/samples/*.cpp" "${PROJECT_SOURCE_DIR}/samples/*/*.cpp"
    "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp" "${CMAKE_CURRENT_SOURCE_DIR}/support/*.cpp"
    "${CMAKE_CURRENT_SOURCE_DIR}/support/*.h")
set(cv_guides bytes classes containers drawing failures files gradients moving plainpointers resources rtf streams strings threads
    windows)
list(TRANSFORM cv_guides PREPEND "${PROJECT_SOURCE_DIR}/docs/")
list(TRANSFORM cv_guides APPEND .md)
add_test(NAME guides COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/docs_check.sh"
    ${cv_guides} -- ${cv_shown_code})
add_test(NAME page_failures COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/failures_check.sh" "${PROJECT_SOURCE_DIR}")
add_test(NAME page_c_face COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/docs_check.sh"
    -l c "${PROJECT_SOURCE_DIR}/docs/c-face.md" -- "${PROJECT_SOURCE_DIR}/samples/cclient/main.c")

# What a script can see of the tree. `headers` is not among it: the build compiles headers_alone.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_test(NAME house COMMAND "${CV_BASH}" "${PROJECT_SOURCE_DIR}/tools/check" floors portable docs blanks format)
    add_test(NAME clang COMMAND "${CV_BASH}" "${PROJECT_SOURCE_DIR}/tools/check" clang)
    set_tests_properties(house clang PROPERTIES TIMEOUT 600 SKIP_RETURN_CODE 77)
endif()

# The package, as a client gets it.
if(CMAKE_CROSSCOMPILING_EMULATOR AND CMAKE_BUILD_TYPE STREQUAL "Release" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_test(NAME package COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/package_check.sh"
        "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}" "${PROJECT_VERSION}" "${CMAKE_CXX_COMPILER}"
        "${PROJECT_BINARY_DIR}/package check")
    set_tests_properties(package PROPERTIES TIMEOUT 300)
endif()

# One preset is enough to know that neither the clock nor a path gets into the output.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_test(NAME same_build_twice COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/same_build_check.sh"
        "${CMAKE_COMMAND}" "${PROJECT_SOURCE_DIR}" "$<TARGET_FILE:CVCore16>"
        "${PROJECT_BINARY_DIR}/elsewhere")
    set_tests_properties(same_build_twice PROPERTIES TIMEOUT 600)
endif()
