# The compiler's run-time DLLs stand beside what we build. They are shared, never static: with two copies of
# the unwinder an exception thrown in the DLL is not caught by type in a client's program.

set(cv_runtime_copies)
# The unwinder has the width in its name.
set(cv_unwinder libgcc_s_dw2-1.dll)
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(cv_unwinder libgcc_s_seh-1.dll)
endif()
foreach(name IN ITEMS ${cv_unwinder} libstdc++-6.dll libwinpthread-1.dll)
    execute_process(
        COMMAND "${CMAKE_CXX_COMPILER}" "-print-file-name=${name}"
        OUTPUT_VARIABLE from OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT IS_ABSOLUTE "${from}")
        # Not beside the compiler's own libraries; then beside its programs (Windows), or where the target's
        # are.
        get_filename_component(compiler_folder "${CMAKE_CXX_COMPILER}" DIRECTORY)
        unset(from)
        find_file(from "${name}" PATHS "${compiler_folder}" "${CMAKE_FIND_ROOT_PATH}/lib"
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH NO_CACHE REQUIRED)
    endif()
    set(to "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}")
    add_custom_command(OUTPUT "${to}"
        COMMAND "${CMAKE_COMMAND}" -E copy "${from}" "${to}"
        DEPENDS "${from}" COMMENT "Copying ${name}" VERBATIM)
    list(APPEND cv_runtime_copies "${to}")
endforeach()
add_custom_target(runtime_dlls ALL DEPENDS ${cv_runtime_copies})
