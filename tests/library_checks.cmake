# What is promised about the DLL as a file.
find_program(CV_BASH bash NO_CMAKE_FIND_ROOT_PATH)
find_program(CV_CXXFILT NAMES i686-w64-mingw32-c++filt c++filt NO_CMAKE_FIND_ROOT_PATH REQUIRED)
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
    "${CMAKE_OBJDUMP}" "${CV_CXXFILT}" "$<TARGET_FILE:CVCore16>" "${PROJECT_BINARY_DIR}/CVCore16.def")

# The samples, as a person starts them.
if(CMAKE_CROSSCOMPILING_EMULATOR)
    foreach(sample IN ITEMS concordance desk expand faults filetool gallery letters)
        add_test(NAME ${sample} COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/${sample}_check.sh"
            "${PROJECT_SOURCE_DIR}/tools" "$<TARGET_FILE:${sample}>" "${PROJECT_SOURCE_DIR}")
        set_tests_properties(${sample} PROPERTIES TIMEOUT 120)
    endforeach()
    set_tests_properties(desk gallery PROPERTIES RESOURCE_LOCK desktop)
endif()
add_test(NAME readme COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/readme_check.sh" "${PROJECT_SOURCE_DIR}")

# One preset is enough to know that neither the clock nor a path gets into the output.
if(CMAKE_BUILD_TYPE STREQUAL "Release")
    add_test(NAME same_build_twice COMMAND "${CV_BASH}" "${CMAKE_CURRENT_SOURCE_DIR}/same_build_check.sh"
        "${CMAKE_COMMAND}" "${PROJECT_SOURCE_DIR}" "$<TARGET_FILE:CVCore16>"
        "${PROJECT_BINARY_DIR}/elsewhere")
    set_tests_properties(same_build_twice PROPERTIES TIMEOUT 600)
endif()
