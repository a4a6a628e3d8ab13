# What every target of the project shares: warnings, strict Qt, sanitizers, and the one-line module and test makers.

add_library(qm_build INTERFACE)
target_compile_definitions(qm_build INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CONTEXTLESS_CONNECT QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_FOREACH QT_NO_KEYWORDS QUILLMARK_VERSION="${PROJECT_VERSION}")
target_compile_options(qm_build INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    -Wold-style-cast -Wcast-qual -Wimplicit-fallthrough $<$<BOOL:${QM_WERROR}>:-Werror>)
if(QM_SANITIZE)
    target_compile_options(qm_build INTERFACE -fsanitize=${QM_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(qm_build INTERFACE -fsanitize=${QM_SANITIZE})
endif()

# qm_add_module(name [SUBDIRS dir...] LINK target...): the sources of one folder as the static library qm_<name>.
# Its link list is what it may include: an arrow that is not listed does not build.
function(qm_add_module name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SUBDIRS;LINK")
    set(patterns ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h ${CMAKE_CURRENT_SOURCE_DIR}/*.qrc)
    foreach(dir IN LISTS arg_SUBDIRS)
        list(APPEND patterns ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/*.h)
    endforeach()
    file(GLOB sources CONFIGURE_DEPENDS ${patterns})
    list(FILTER sources EXCLUDE REGEX "/main\\.cpp$") # a program's
    # Another platform's half of a file (NameWindows.cpp, NameUnix.cpp) stays out of this build.
    if(WIN32)
        list(FILTER sources EXCLUDE REGEX "Unix\\.(cpp|h)$")
    else()
        list(FILTER sources EXCLUDE REGEX "Windows\\.(cpp|h)$")
    endif()
    add_library(qm_${name} STATIC ${sources})
    target_include_directories(qm_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(qm_${name} PUBLIC ${arg_LINK} PRIVATE qm_build)
endfunction()

# qm_describe_program(name text): what the system shows about an executable. Only Windows keeps that in the file; cmake/Windows.cmake does it.
function(qm_describe_program)
endfunction()

# qm_add_tool(name DESCRIPTION text LINK target...): tools/<name>/*.cpp as the program <name>.
function(qm_add_tool name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION" "LINK")
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.h)
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE ${arg_LINK} qm_build)
    qm_describe_program(${name} "${arg_DESCRIPTION}")
endfunction()

# qm_add_test(name [DISPLAY] [TIMEOUT seconds] LINK target...): tests/<name>.cpp as one QtTest program.
# Temporary files lie in memory where the system has such a folder: tests save durably thousands of times.
# Tests run off screen; DISPLAY runs the program in a virtual X display of its own. Cross-built ones run in the emulator, which starts
# slowly; those with windows share its display and so run one at a time.
function(qm_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "DISPLAY" "TIMEOUT" "LINK")
    add_executable(${name} ${name}.cpp)
    target_link_libraries(${name} PRIVATE ${arg_LINK} qm_test_support Qt6::Test qm_build)
    set(command ${name})
    set(platform offscreen)
    if(arg_DISPLAY AND CMAKE_CROSSCOMPILING)
        set(platform windows)
    elseif(arg_DISPLAY)
        set(command xvfb-run -a -s "-screen 0 1280x1024x24" $<TARGET_FILE:${name}>)
        set(platform xcb)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    if(CMAKE_CROSSCOMPILING)
        math(EXPR arg_TIMEOUT "2 * ${arg_TIMEOUT}")
    endif()
    add_test(NAME ${name} COMMAND ${command})
    set(temporary "")
    if(EXISTS /dev/shm)
        set(temporary "TMPDIR=/dev/shm;")
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT}
        ENVIRONMENT "${temporary}QT_QPA_PLATFORM=${platform};TZ=Europe/Berlin;LC_ALL=C.UTF-8;QM_BIN_DIR=${CMAKE_RUNTIME_OUTPUT_DIRECTORY};QM_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
    if(platform STREQUAL windows)
        set_tests_properties(${name} PROPERTIES RESOURCE_LOCK display)
    endif()
endfunction()
