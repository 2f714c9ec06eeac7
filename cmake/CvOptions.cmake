# Compiler and linker options, in two layers: what everything must share because it becomes part of one
# process (here, at directory scope), and what holds for our own code only (cv_own_code).

option(CVCORE_CHECKED "Build the library's own checks (guards, foreign pointers, broken lists)" OFF)
option(CVCORE_COVERAGE "Count which lines and branches of the library are reached (tools/coverage)" OFF)
option(CVCORE_FULL "Tests take their random work in full, not a taste of it (tests/support/seed.h)" OFF)
option(CVCORE_GUARD "Tests on a C heap that sees every byte too far; pools pass each block to it" OFF)
option(CVCORE_TRAP "Let undefined behaviour trap; harden the standard library" OFF)

set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_C_FLAGS_DEBUG "-O0 -g")
set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g")
set(CMAKE_C_FLAGS_TRAP "-O1 -g")
set(CMAKE_CXX_FLAGS_TRAP "-O1 -g")

add_compile_options(-msse2 -mfpmath=sse)

# No path of this machine and no clock in the output: two builds of one commit are identical, wherever they
# are made. Of several maps that fit, the compiler takes the one given last.
add_compile_options(
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=."
    "-ffile-prefix-map=${PROJECT_BINARY_DIR}=build")
add_link_options(LINKER:--dynamicbase LINKER:--nxcompat LINKER:--no-insert-timestamp)

if(CVCORE_TRAP)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()
if(CVCORE_COVERAGE)
    add_link_options(--coverage)
    add_compile_definitions(CVCORE_COVERAGE)
endif()
if(CVCORE_GUARD)
    # Inline code in the headers asks for it. In a pool's chunk an overrun of a string would hit the next string.
    add_compile_definitions(CVCORE_POOLS_PASS)
endif()

# Warnings are errors in our own code; other people's (GoogleTest) is left as it is.
function(cv_own_code target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
    if(CVCORE_TRAP)
        # Not `null`: a few members are promised to be safe on a null `this`, and the check would trap in the
        # call of the test that holds the promise. A real access through a null pointer faults without it.
        target_compile_options(${target} PRIVATE -fsanitize=undefined -fsanitize=float-cast-overflow
            -fno-sanitize=null -fsanitize-undefined-trap-on-error)
    endif()
endfunction()

# What the library needs beyond that.
function(cv_library_code target)
    cv_own_code(${target})
    target_compile_definitions(${target} PRIVATE CVCORE_EXPORTS)
    if(CVCORE_COVERAGE)
        target_compile_options(${target} PRIVATE --coverage)
    endif()
    target_compile_options(${target} PRIVATE
        -fno-delete-null-pointer-checks                       # the promises on a null `this`
        -fasynchronous-unwind-tables                          # a machine fault can become an exception
        -fno-stack-protector)                                 # it would bring a fourth run-time DLL
    # The same, for places of ours. Where branches are counted, each access to memory would be one.
    if(NOT CVCORE_COVERAGE)
        target_compile_options(${target} PRIVATE -fnon-call-exceptions)
    endif()
endfunction()
