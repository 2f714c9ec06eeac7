# Two helpers for the programs of clients, in an installed package and where the sources are a subfolder.

# What cvcore_deploy copies. A function's own scope does not know where this file was read.
if(NOT DEFINED cvcore_bin_folder)
    set_property(GLOBAL PROPERTY CVCORE_RUNTIME_DLLS "${cv_runtime_copies}")
    set_property(GLOBAL PROPERTY CVCORE_APP_FOLDER "${PROJECT_SOURCE_DIR}/packaging")
else()
    set(dlls libgcc_s_dw2-1.dll libstdc++-6.dll libwinpthread-1.dll)
    list(TRANSFORM dlls PREPEND "${cvcore_bin_folder}/")
    set_property(GLOBAL PROPERTY CVCORE_RUNTIME_DLLS "${dlls}")
    set_property(GLOBAL PROPERTY CVCORE_APP_FOLDER "${CMAKE_CURRENT_LIST_DIR}")
    unset(dlls)
endif()

# cvcore_deploy(TARGET): puts CVCore16.dll and the run-time DLLs next to the program when it is linked. Without
# them Windows ends it with c0000135 before its first line.
function(cvcore_deploy target)
    get_property(dlls GLOBAL PROPERTY CVCORE_RUNTIME_DLLS)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND "${CMAKE_COMMAND}" -E copy_if_different "$<TARGET_FILE:CVCore16::CVCore16>" ${dlls}
            "$<TARGET_FILE_DIR:${target}>"
        VERBATIM)
    if(TARGET runtime_dlls)
        add_dependencies(${target} runtime_dlls)
    endif()
endfunction()

# cvcore_manifest(TARGET): gives the program the manifest of a present-day windowed program; the file tells what it
# asks for. A program with a manifest of its own does not need it.
function(cvcore_manifest target)
    get_property(folder GLOBAL PROPERTY CVCORE_APP_FOLDER)
    target_sources(${target} PRIVATE "${folder}/cvcore16-app.rc")
    # The resource compiler does not tell what it included.
    set_source_files_properties("${folder}/cvcore16-app.rc" PROPERTIES
        OBJECT_DEPENDS "${folder}/cvcore16-app.manifest" INCLUDE_DIRECTORIES "${folder}")
endfunction()
