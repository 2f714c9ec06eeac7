# What the test folders are made with.

find_path(CV_GOOGLETEST_FOLDER src/gtest-all.cc
    PATHS /usr/src/googletest/googletest "$ENV{GOOGLETEST_ROOT}/googletest"
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED
    DOC "GoogleTest's sources: the folder that holds src/gtest-all.cc")

# Longer than the watchdog of tests/support/main.cpp waits: it can tell where a hung program stands.
set(cv_test_seconds 300)
set(cv_long_test_seconds 3900)

# GoogleTest, built for the target from its sources, and what our tests share.
function(cv_support_library)
    add_library(gtest STATIC "${CV_GOOGLETEST_FOLDER}/src/gtest-all.cc")
    target_include_directories(gtest PRIVATE "${CV_GOOGLETEST_FOLDER}")
    target_include_directories(gtest SYSTEM PUBLIC "${CV_GOOGLETEST_FOLDER}/include")
    target_compile_options(gtest PRIVATE -w)

    add_library(test_support STATIC
        support/main.cpp support/seed.cpp support/faults.cpp
        support/importpatch.cpp support/allocfail.cpp support/counters.cpp support/guardheap.cpp)
    cv_own_code(test_support)
    target_compile_options(test_support PRIVATE -g)
    target_include_directories(test_support PUBLIC support)
    target_link_libraries(test_support PUBLIC gtest)
endfunction()

# cv_test_program(NAME SOURCE...): a program with our main, started by hand or by another test.
function(cv_test_program name)
    add_executable(${name} ${ARGN})
    cv_own_code(${name})
    target_compile_options(${name} PRIVATE -g)
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(${name} PRIVATE test_support CVCore16)
    add_dependencies(${name} runtime_dlls)
endfunction()

# cv_run_as_test(NAME): the ctest entry NAME for the program NAME_test.
function(cv_run_as_test name)
    if(CMAKE_CROSSCOMPILING_EMULATOR)
        set_target_properties(${name}_test PROPERTIES
            CROSSCOMPILING_EMULATOR "${PROJECT_SOURCE_DIR}/tools/wine-test")
    endif()
    add_dependencies(${name}_test runtime_dlls)
    add_test(NAME ${name} COMMAND ${name}_test)
    set_tests_properties(${name} PROPERTIES TIMEOUT ${cv_test_seconds})
    if(CVCORE_FULL)
        set_tests_properties(${name} PROPERTIES ENVIRONMENT CV_FULL=1)
    else()
        set_tests_properties(${name} PROPERTIES ENVIRONMENT_MODIFICATION CV_LONG=unset:)
    endif()
endfunction()

# cv_test_long(NAME...): tests that a long run asks for more of, in the preset that takes the numbers in full. They begin
# first, since they end last. What hangs is ended by the program's own watchdog, in both kinds of run.
function(cv_test_long)
    if(CVCORE_FULL)
        set_tests_properties(${ARGN} PROPERTIES TIMEOUT ${cv_long_test_seconds} COST 100)
    endif()
endfunction()

# cv_test(NAME [DESKTOP] SOURCE...): the program NAME_test and its one ctest entry NAME. DESKTOP is for tests
# that need the input focus, the clipboard or another thing of which a desktop has one: they run one at a
# time.
function(cv_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "DESKTOP" "" "")
    cv_test_program(${name}_test ${arg_UNPARSED_ARGUMENTS})
    cv_run_as_test(${name})
    if(arg_DESKTOP)
        set_tests_properties(${name} PROPERTIES RESOURCE_LOCK desktop)
    endif()
endfunction()

# cv_test_plain(NAME...): the same programs once more, on a processor that has nothing but SSE2 as far as the library knows.
function(cv_test_plain)
    foreach(name IN LISTS ARGN)
        add_test(NAME ${name}_plain COMMAND ${name}_test)
        set_tests_properties(${name}_plain PROPERTIES
            TIMEOUT ${cv_test_seconds} ENVIRONMENT CVCORE_PLAIN=1 ENVIRONMENT_MODIFICATION CV_LONG=unset:)
    endforeach()
endfunction()

# cv_c_test(NAME SOURCE...): the same for a program of plain C, which brings its own main and closing line: a client of the
# flat face has the import library and nothing of ours besides.
function(cv_c_test name)
    add_executable(${name}_test ${ARGN})
    cv_own_code(${name}_test)
    target_compile_options(${name}_test PRIVATE -g -pedantic)
    set_target_properties(${name}_test PROPERTIES C_STANDARD 99 C_EXTENSIONS OFF)
    target_link_libraries(${name}_test PRIVATE CVCore16)
    cv_run_as_test(${name})
endfunction()

# cv_test_plugin(NAME SOURCE...): a client DLL that tests load and free at run time.
function(cv_test_plugin name)
    add_library(${name} MODULE ${ARGN})
    cv_own_code(${name})
    target_compile_options(${name} PRIVATE -g)
    target_link_libraries(${name} PRIVATE CVCore16)
    set_target_properties(${name} PROPERTIES
        PREFIX "" LIBRARY_OUTPUT_DIRECTORY "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
    add_dependencies(${name} runtime_dlls)
endfunction()

# Each public header as the first include of a source of its own, as a client sees it and with the warnings
# that a strict client may have on: what a header needs it includes itself.
function(cv_headers_alone)
    set(folder "${PROJECT_SOURCE_DIR}/core/h")
    file(GLOB headers CONFIGURE_DEPENDS RELATIVE "${folder}" "${folder}/*.h")
    set(sources)
    foreach(header IN LISTS headers)
        set(source "${CMAKE_CURRENT_BINARY_DIR}/alone/${header}.cpp")
        file(CONFIGURE OUTPUT "${source}"
            CONTENT "#include \"${header}\"\n#include \"${header}\" // guarded\n")
        list(APPEND sources "${source}")
    endforeach()
    add_library(headers_alone OBJECT ${sources})
    cv_own_code(headers_alone)
    target_compile_options(headers_alone PRIVATE -Wconversion)
    target_link_libraries(headers_alone PRIVATE CVCore16)

    # The header for C, in the oldest C that clients may have.
    set(source "${CMAKE_CURRENT_BINARY_DIR}/alone/cvcore_c.c")
    file(CONFIGURE OUTPUT "${source}" CONTENT
        "#include \"cvcore_c.h\"\n#include \"cvcore_c.h\"\nint alone(void);\nint alone(void)\n{\n    return cv_version();\n}\n")
    add_library(c_header_alone OBJECT "${source}")
    cv_own_code(c_header_alone)
    target_compile_options(c_header_alone PRIVATE -pedantic)
    set_target_properties(c_header_alone PROPERTIES C_STANDARD 90 C_EXTENSIONS OFF)
    target_link_libraries(c_header_alone PRIVATE CVCore16)
endfunction()
