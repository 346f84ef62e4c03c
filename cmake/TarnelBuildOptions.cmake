# How our own code is compiled. Only targets of this project link tarnel_build_options, privately, so nothing of it
# reaches third parties or users of the installed libraries.
add_library(tarnel_build_options INTERFACE)
target_compile_features(tarnel_build_options INTERFACE cxx_std_20)

if(MSVC)
    target_compile_options(
        tarnel_build_options
        INTERFACE /W4
                  /WX
                  /permissive-
                  /utf-8 # sources and the texts in them
                  /EHsc
                  /Zc:__cplusplus # Eigen and others ask for the language's version
                  /bigobj # tests instantiate more templates than plain objects have sections for
                  # Exported classes hold and derive from classes of the standard library: libraries and hosts are built with one
                  # compiler and runtime, as exceptions across their borders ask for anyway.
                  /wd4251
                  /wd4275
                  # Structures are padded because matrices in them are aligned, which is meant.
                  /wd4324
    )
    # std::getenv and the like; the "safe" functions are on this compiler alone.
    target_compile_definitions(tarnel_build_options INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
    target_compile_options(
        tarnel_build_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    )
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 sees overlapping copies in string concatenation where there are none (its bug 105651).
    target_compile_options(tarnel_build_options INTERFACE -Wno-restrict)
    # With more optimization it sees copies of impossible length there as well.
    string(TOUPPER "${CMAKE_BUILD_TYPE}" buildType)
    if("${CMAKE_CXX_FLAGS_${buildType}}" MATCHES "-O[23]")
        target_compile_options(tarnel_build_options INTERFACE -Wno-stringop-overflow -Wno-stringop-overread)
    endif()
    # With less, initialisations that it does not follow into constructors.
    if("${CMAKE_CXX_FLAGS_${buildType}}" MATCHES "-Og")
        target_compile_options(tarnel_build_options INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()

if(WIN32)
    target_compile_definitions(tarnel_build_options INTERFACE _WIN32_WINNT=0x0A00)
endif()
if(MINGW)
    # Tests instantiate more templates than the plain object format has sections for.
    target_compile_options(tarnel_build_options INTERFACE -Wa,-mbig-obj)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # See MingwToolchain.cmake; here for builds that do not use it.
        target_compile_options(tarnel_build_options INTERFACE -fno-ipa-ra)
    endif()
endif()

if(TARNEL_SANITIZE)
    string(REPLACE "+" "," sanitizers ${TARNEL_SANITIZE})
    target_compile_options(
        tarnel_build_options
        INTERFACE -fsanitize=${sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all
    )
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The instrumentation hides initialisations from GCC's flow analysis, which then warns without cause.
        target_compile_options(tarnel_build_options INTERFACE -Wno-maybe-uninitialized)
    endif()
    target_compile_definitions(tarnel_build_options INTERFACE _GLIBCXX_ASSERTIONS)
    target_link_options(tarnel_build_options INTERFACE -fsanitize=${sanitizers})
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Windows looks for DLLs beside the program, so all programs and DLLs share one folder.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
if(NOT WIN32)
    set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR};$ORIGIN")
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    foreach(language C CXX)
        if(NOT DEFINED CMAKE_${language}_COMPILER_LAUNCHER)
            set(CMAKE_${language}_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
        endif()
    endforeach()
endif()

# The compiler's own runtime DLLs. They are shared, not linked statically, because exceptions and type information
# cross the borders of our DLLs.
if(MINGW)
    set(TARNEL_RUNTIME_DLLS)
    foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(
            COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
            OUTPUT_VARIABLE path
            OUTPUT_STRIP_TRAILING_WHITESPACE
        )
        if(NOT IS_ABSOLUTE "${path}")
            unset(path)
            find_file(
                path ${dll} HINTS ${CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES}
                PATH_SUFFIXES lib bin NO_CACHE REQUIRED CMAKE_FIND_ROOT_PATH_BOTH
            )
        endif()
        list(APPEND TARNEL_RUNTIME_DLLS ${path})
    endforeach()
    file(COPY ${TARNEL_RUNTIME_DLLS} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endif()
