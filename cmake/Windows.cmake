# What stands in for other systems' libraries on Windows: the parts of Windows itself.

add_library(qm_odbc32 INTERFACE)
target_link_libraries(qm_odbc32 INTERFACE odbc32 odbccp32)
add_library(PkgConfig::ODBC ALIAS qm_odbc32)

# The newest interfaces used are those of Windows 10; windows.h without its macros min and max and its rarely used parts.
add_compile_definitions(_WIN32_WINNT=0x0A00 WINVER=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE)
# The same source gives the same bytes.
add_link_options(-Wl,--no-insert-timestamp)

# The icon of the programs, from the picture that the window shows: small pictures as bitmaps, the big one packed.
find_program(RSVG_CONVERT rsvg-convert)
find_program(ICOTOOL icotool)
if(NOT RSVG_CONVERT OR NOT ICOTOOL)
    message(FATAL_ERROR "rsvg-convert or icotool, which make the programs' icon, are missing; packaging/windows/configure.sh installs them")
endif()
set(QM_ICON ${PROJECT_BINARY_DIR}/resources/quillmark.ico)
set(qm_picture ${PROJECT_SOURCE_DIR}/src/shell/icons/quillmark.svg)
set(qm_pictures "")
set(qm_icon_commands "")
foreach(size 16 20 24 32 40 48 64 256)
    set(png ${PROJECT_BINARY_DIR}/resources/quillmark-${size}.png)
    list(APPEND qm_icon_commands COMMAND ${RSVG_CONVERT} --width ${size} --height ${size} --output ${png} ${qm_picture})
    if(size LESS 256)
        list(APPEND qm_pictures ${png})
    else()
        list(APPEND qm_pictures --raw=${png})
    endif()
endforeach()
add_custom_command(OUTPUT ${QM_ICON}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/resources
    ${qm_icon_commands}
    COMMAND ${ICOTOOL} --create --output=${QM_ICON} ${qm_pictures}
    DEPENDS ${qm_picture} COMMENT "Drawing the icon" VERBATIM)
add_custom_target(programicon DEPENDS ${QM_ICON})

enable_language(RC)

# qm_describe_program(name text): what the file's properties, the task manager and the firewall show about an executable.
function(qm_describe_program name text)
    set(QM_PROGRAM ${name})
    set(QM_DESCRIPTION ${text})
    set(QM_MANIFEST ${PROJECT_SOURCE_DIR}/cmake/program.manifest)
    string(REPLACE "." "," QM_VERSION_NUMBERS "${PROJECT_VERSION}.0")
    set(resource ${PROJECT_BINARY_DIR}/resources/${name}.rc)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/program.rc.in ${resource} @ONLY)
    set_source_files_properties(${resource} PROPERTIES OBJECT_DEPENDS "${QM_ICON};${QM_MANIFEST}")
    target_sources(${name} PRIVATE ${resource})
    add_dependencies(${name} programicon)
endfunction()
