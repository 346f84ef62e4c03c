# The target "docs": the reference of the installed headers as pages, in reference/ of the build. What is not commented, or
# commented wrongly, fails it. It exists where Doxygen is installed, and all builds nothing of it.
find_program(TARNEL_DOXYGEN doxygen)
mark_as_advanced(TARNEL_DOXYGEN)
if(NOT TARNEL_DOXYGEN)
    return()
endif()

get_property(headers GLOBAL PROPERTY TARNEL_INSTALLED_HEADERS)
set(TARNEL_DOCS_FOLDER ${PROJECT_BINARY_DIR}/reference)
set(pages ${PROJECT_SOURCE_DIR}/docs/reference/start.md ${PROJECT_SOURCE_DIR}/docs/reference/groups.dox)
list(TRANSFORM headers REPLACE "(.+)" "\"\\1\"" OUTPUT_VARIABLE quoted)
list(JOIN quoted " " quoted)
list(JOIN pages "\" \"" TARNEL_DOCS_INPUT)
set(TARNEL_DOCS_INPUT "\"${TARNEL_DOCS_INPUT}\" ${quoted}")
configure_file(${PROJECT_SOURCE_DIR}/docs/reference/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)

add_custom_command(
    OUTPUT ${TARNEL_DOCS_FOLDER}/index.html
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${TARNEL_DOCS_FOLDER}
    COMMAND ${TARNEL_DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
    DEPENDS ${headers} ${pages} ${PROJECT_BINARY_DIR}/Doxyfile ${PROJECT_SOURCE_DIR}/docs/reference/read-header
    COMMENT "Writing the reference of the public interface"
    VERBATIM
)
add_custom_target(docs DEPENDS ${TARNEL_DOCS_FOLDER}/index.html)
