# What the PDF writer needs beyond the other writers: bidirectional text, a whole-buffer compressor, and the fonts that come with the program.
pkg_check_modules(FRIBIDI REQUIRED IMPORTED_TARGET GLOBAL fribidi)
pkg_check_modules(LIBDEFLATE REQUIRED IMPORTED_TARGET GLOBAL libdeflate)
target_link_libraries(qm_documents PUBLIC PkgConfig::FRIBIDI PkgConfig::LIBDEFLATE)

# qm_ship_file(variable source_name output_name folder...): copies a file of the system into the program folder's "fonts".
set(QM_FONT_FOLDER ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/fonts)
set(QM_FONT_OUTPUTS)
function(qm_ship_file variable source_name output_name)
    # Of the machine that builds, also in a cross-build: the file is copied, not linked.
    find_file(${variable} ${source_name} PATHS /usr/local /usr PATH_SUFFIXES ${ARGN} REQUIRED NO_CMAKE_FIND_ROOT_PATH)
    set(output ${QM_FONT_FOLDER}/${output_name})
    add_custom_command(OUTPUT ${output} COMMAND ${CMAKE_COMMAND} -E copy ${${variable}} ${output} DEPENDS ${${variable}} VERBATIM)
    set(QM_FONT_OUTPUTS ${QM_FONT_OUTPUTS} ${output} PARENT_SCOPE)
endfunction()

qm_ship_file(QM_FONT_NARROW DejaVuSansCondensed.ttf DejaVuSansCondensed.ttf share/fonts/truetype/dejavu)
qm_ship_file(QM_FONT_NARROW_BOLD DejaVuSansCondensed-Bold.ttf DejaVuSansCondensed-Bold.ttf share/fonts/truetype/dejavu)
qm_ship_file(QM_FONT_BOLD DejaVuSans-Bold.ttf DejaVuSans-Bold.ttf share/fonts/truetype/dejavu)
qm_ship_file(QM_FONT_MONO DejaVuSansMono.ttf DejaVuSansMono.ttf share/fonts/truetype/dejavu)
qm_ship_file(QM_FONT_CJK DroidSansFallbackFull.ttf DroidSansFallbackFull.ttf share/fonts/truetype/droid)
qm_ship_file(QM_FONT_SANS_LICENCE copyright DejaVu-LICENCE.txt share/doc/fonts-dejavu-core)
qm_ship_file(QM_FONT_CJK_LICENCE copyright DroidSansFallback-LICENCE.txt share/doc/fonts-droid-fallback)

add_custom_target(qm_fonts ALL DEPENDS ${QM_FONT_OUTPUTS})
add_dependencies(qm_documents qm_fonts)
install(FILES ${QM_FONT_OUTPUTS} DESTINATION share/quillmark/fonts)
