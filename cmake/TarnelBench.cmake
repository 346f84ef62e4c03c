# tarnel_bench(<Name> SOURCES <files>... [LIBS <targets>...])
#
# One Google Benchmark program; its name ends in "Bench", by which scripts/bench.sh finds it. It may have a main of its
# own.
function(tarnel_bench name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(
        ${name} PRIVATE ${ARG_LIBS} benchmark::benchmark benchmark::benchmark_main tarnel_build_options
    )
    set_target_properties(${name} PROPERTIES FOLDER bench)
endfunction()
