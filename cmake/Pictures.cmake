# Drawings: SVG in the source, painter commands in the programs. The tool that records them runs on the machine that builds.

if(CMAKE_CROSSCOMPILING)
    set(host ${CMAKE_BINARY_DIR}/host/picture-compiler)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS tools/picture-compiler/main.cpp) # it is built by configuring
    execute_process(
        COMMAND ${CMAKE_COMMAND} -E env --unset=CC --unset=CXX ${CMAKE_COMMAND} -S ${PROJECT_SOURCE_DIR}/tools/picture-compiler -B ${host} -G Ninja
                -DCMAKE_BUILD_TYPE=Release
        COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
    execute_process(COMMAND ${CMAKE_COMMAND} --build ${host} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
    add_executable(picture-compiler IMPORTED GLOBAL)
    set_target_properties(picture-compiler PROPERTIES IMPORTED_LOCATION ${host}/picture-compiler)
else()
    add_subdirectory(tools/picture-compiler)
    set_target_properties(picture-compiler PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/host)
endif()

# qm_add_pictures(target prefix file.svg...): the drawings as resources ":/<prefix>/<path without suffix>" of a module of this folder. The
# module calls Q_INIT_RESOURCE(<target>_pictures).
function(qm_add_pictures target prefix)
    set(recordings "")
    foreach(drawing IN LISTS ARGN)
        cmake_path(RELATIVE_PATH drawing BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} OUTPUT_VARIABLE name)
        cmake_path(REMOVE_EXTENSION name)
        set(recording ${CMAKE_CURRENT_BINARY_DIR}/pictures/${name})
        cmake_path(GET recording PARENT_PATH folder)
        file(MAKE_DIRECTORY ${folder})
        add_custom_command(OUTPUT ${recording}
            COMMAND ${CMAKE_COMMAND} -E env ASAN_OPTIONS=detect_leaks=0 $<TARGET_FILE:picture-compiler> ${drawing} ${recording}
            DEPENDS ${drawing} picture-compiler COMMENT "Recording ${name}" VERBATIM)
        list(APPEND recordings ${recording})
    endforeach()
    qt_add_resources(${target} ${target}_pictures PREFIX /${prefix} BASE ${CMAKE_CURRENT_BINARY_DIR}/pictures FILES ${recordings})
endfunction()
