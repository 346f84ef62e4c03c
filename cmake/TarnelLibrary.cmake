# tarnel_version_resource(<target> <description>): Windows shows them among a file's properties, and installers compare them.
# Elsewhere it does nothing.
function(tarnel_version_resource target description)
    if(NOT WIN32)
        return()
    endif()
    get_target_property(type ${target} TYPE)
    set(fileType VFT_APP)
    set(ending .exe)
    if(type STREQUAL "SHARED_LIBRARY")
        set(fileType VFT_DLL)
        set(ending .dll)
    endif()
    set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${resource} @ONLY)
    # A target of its own, because the resource compiler would be given the compiler's options.
    add_library(${target}Version OBJECT ${resource})
    set_target_properties(${target}Version PROPERTIES FOLDER libraries)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}Version>)
endfunction()

# A library of which nothing is written yet still builds.
function(tarnel_sources_or_empty result)
    if(NOT ARGN)
        file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/empty.cpp "")
        set(ARGN ${CMAKE_CURRENT_BINARY_DIR}/empty.cpp)
    endif()
    set(${result} ${ARGN} PARENT_SCOPE)
endfunction()

# tarnel_library(<Name> SOURCES <files>... HEADERS <files>... [OBJECTS <libraries>...]
#                [PUBLIC_LIBS <targets>...] [PRIVATE_LIBS <targets>...])
#
# The shared library Tarnel<Name> (TarnelCore.dll), known as Tarnel::<Name> in this tree and to users of the installed
# one. HEADERS are the installed ones; they keep their path from the root of the repository. Headers that are only for
# the library itself need not be listed. While the library is compiled TARNEL_<NAME>_BUILD is defined, which turns the
# library's export macro into "export". OBJECTS names libraries of tarnel_object_library that become part of it.
function(tarnel_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;OBJECTS;PUBLIC_LIBS;PRIVATE_LIBS" ${ARGN})
    set(target Tarnel${name})
    string(TOUPPER ${name} upperName)

    tarnel_sources_or_empty(ARG_SOURCES ${ARG_SOURCES})
    add_library(${target} SHARED ${ARG_SOURCES})
    add_library(Tarnel::${name} ALIAS ${target})
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARG_HEADERS})
    list(TRANSFORM ARG_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    set_property(GLOBAL APPEND PROPERTY TARNEL_INSTALLED_HEADERS ${ARG_HEADERS})
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_compile_definitions(${target} PRIVATE TARNEL_${upperName}_BUILD)
    foreach(objects ${ARG_OBJECTS})
        target_sources(${target} PRIVATE $<TARGET_OBJECTS:${objects}>)
    endforeach()
    target_link_libraries(
        ${target}
        PUBLIC ${ARG_PUBLIC_LIBS}
        PRIVATE ${ARG_PRIVATE_LIBS} $<BUILD_INTERFACE:tarnel_build_options>
    )
    set_target_properties(
        ${target} PROPERTIES EXPORT_NAME ${name} FOLDER libraries VERSION ${PROJECT_VERSION}
                             SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    )
    if(WIN32)
        set_target_properties(${target} PROPERTIES PREFIX "") # TarnelCore.dll, whatever the compiler
    endif()
    tarnel_version_resource(${target} "Tarnel, ${name} library")
    install(
        TARGETS ${target}
        EXPORT TarnelTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarnel COMPONENT development
    )
endfunction()

# tarnel_object_library(<Target> EXPORTS <Name> SOURCES <files>... [LIBS <targets>...])
#
# Sources that are compiled once and used twice: as part of the shared library Tarnel<Name>, and by tests, which link
# them statically to reach what the library does not export.
function(tarnel_object_library target)
    cmake_parse_arguments(ARG "" "EXPORTS" "SOURCES;LIBS" ${ARGN})
    string(TOUPPER ${ARG_EXPORTS} upperName)

    tarnel_sources_or_empty(ARG_SOURCES ${ARG_SOURCES})
    add_library(${target} OBJECT ${ARG_SOURCES})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    target_compile_definitions(${target} PRIVATE TARNEL_${upperName}_BUILD)
    target_link_libraries(${target} PUBLIC ${ARG_LIBS} PRIVATE tarnel_build_options)
    set_target_properties(${target} PROPERTIES FOLDER libraries)
endfunction()

# tarnel_static_library(<Target> SOURCES <files>... [OBJECTS <libraries>...] [LIBS <targets>...]
#                       [DEFINITIONS <interface definitions>...])
#
# A static library of the build tree, never installed: code shared by tests, benchmarks and the command line.
function(tarnel_static_library target)
    cmake_parse_arguments(ARG "" "" "SOURCES;OBJECTS;LIBS;DEFINITIONS" ${ARGN})

    tarnel_sources_or_empty(ARG_SOURCES ${ARG_SOURCES})
    add_library(${target} STATIC ${ARG_SOURCES})
    foreach(objects ${ARG_OBJECTS})
        target_sources(${target} PRIVATE $<TARGET_OBJECTS:${objects}>)
    endforeach()
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    target_compile_definitions(${target} PUBLIC ${ARG_DEFINITIONS})
    target_link_libraries(${target} PUBLIC ${ARG_LIBS} PRIVATE tarnel_build_options)
    set_target_properties(${target} PROPERTIES FOLDER libraries)
endfunction()

# tarnel_instruction_variants(<sources>...): one function in several variants for different instructions, which give the
# same bits. Multiplications and additions stay apart, whatever processor the build is for. GCC for Windows does not keep
# the stack aligned to 32 bytes, so the assembler makes unaligned moves of aligned ones.
function(tarnel_instruction_variants)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS -ffp-contract=off)
        if(MINGW AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS -Wa,-muse-unaligned-vector-move)
        endif()
    endif()
endfunction()
