# tarnel_embed_files(<source> HEADER <header> NAMESPACE <namespace> FUNCTION <function> FILES <files>...)
#
# Writes a C++ source that carries the bytes of FILES (paths from the root of the repository, kept as names). HEADER
# declares, in NAMESPACE,
#
#   struct EmbeddedFile { std::string_view path; std::string_view bytes; };
#   std::span<const EmbeddedFile> FUNCTION();
#
# and the source defines the function. The files come in the order given; bytes end in a zero that is not counted.
function(tarnel_embed_files source)
    cmake_parse_arguments(ARG "" "HEADER;NAMESPACE;FUNCTION" "FILES" ${ARGN})
    list(TRANSFORM ARG_FILES PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE inputs)
    set(script ${PROJECT_SOURCE_DIR}/cmake/writeEmbeddedFiles.cmake)
    string(JOIN "|" files ${ARG_FILES})
    add_custom_command(
        OUTPUT ${source}
        COMMAND
            ${CMAKE_COMMAND} -D OUTPUT=${source} -D ROOT=${PROJECT_SOURCE_DIR} -D HEADER=${ARG_HEADER} -D
            NAMESPACE=${ARG_NAMESPACE} -D FUNCTION=${ARG_FUNCTION} -D "FILES=${files}" -P ${script}
        DEPENDS ${inputs} ${script}
        COMMENT "Embedding ${ARG_FILES}"
        VERBATIM
    )
endfunction()
