# Third-party libraries under names that are the same on every host:
#
#   Eigen3::Eigen (also tarnel::eigen)   public in our headers
#   tarnel::json  tarnel::cli11  tarnel::tinyobj  tarnel::stb   headers only
#   tarnel::brotlidec  tarnel::brotlienc  tarnel::spng  tarnel::zlib  tarnel::zstd  tarnel::laszip
#   tarnel::jpeg  tarnel::pugixml
#   tarnel::curl                         Windows: linked; elsewhere the headers, the library is loaded at run time
#   tarnel::nghttp2                      Windows only, for curl
#   tarnel::direct3d                     Windows: import libraries; elsewhere the headers, the library is loaded at run time
#   tarnel::vulkan                       headers, not on Windows
#   tarnel::vkd3d                        headers, not on Windows; the library is loaded at run time
#   GTest::gtest  GTest::gmock  benchmark::benchmark   for tests and benchmark programs

# tarnel_dependency(<name> HEADER <header> [SUFFIXES <include folder>...] [LIBRARIES <names>...] [LINKS <targets>...]
#                   [PACKAGE <package> TARGETS <targets>...])
# One entry of LIBRARIES is a list of alternative file names joined by "|". Where PACKAGE has a CMake configuration, the first
# of TARGETS that it defines is taken instead, which has a library for each build configuration and knows what it needs.
function(tarnel_dependency name)
    cmake_parse_arguments(ARG "" "HEADER;PACKAGE" "SUFFIXES;LIBRARIES;LINKS;DEFINITIONS;TARGETS" ${ARGN})
    if(ARG_PACKAGE)
        find_package(${ARG_PACKAGE} CONFIG QUIET)
        foreach(target ${ARG_TARGETS})
            if(TARGET ${target})
                add_library(tarnel::${name} INTERFACE IMPORTED)
                target_link_libraries(tarnel::${name} INTERFACE ${target})
                return()
            endif()
        endforeach()
    endif()
    find_path(TARNEL_${name}_INCLUDE ${ARG_HEADER} PATH_SUFFIXES ${ARG_SUFFIXES} REQUIRED)
    mark_as_advanced(TARNEL_${name}_INCLUDE)
    add_library(tarnel::${name} INTERFACE IMPORTED)
    target_include_directories(tarnel::${name} INTERFACE ${TARNEL_${name}_INCLUDE})
    foreach(alternatives ${ARG_LIBRARIES})
        string(REPLACE "|" ";" alternatives ${alternatives})
        list(GET alternatives 0 first)
        find_library(TARNEL_${name}_${first} NAMES ${alternatives} REQUIRED)
        mark_as_advanced(TARNEL_${name}_${first})
        target_link_libraries(tarnel::${name} INTERFACE ${TARNEL_${name}_${first}})
    endforeach()
    target_link_libraries(tarnel::${name} INTERFACE ${ARG_LINKS})
    target_compile_definitions(tarnel::${name} INTERFACE ${ARG_DEFINITIONS})
endfunction()

# Where scripts/deps.sh puts what this host has no package of; the cross build has its own prefix.
if(NOT CMAKE_CROSSCOMPILING AND EXISTS ${PROJECT_SOURCE_DIR}/build/deps/native)
    list(APPEND CMAKE_PREFIX_PATH ${PROJECT_SOURCE_DIR}/build/deps/native)
endif()

find_package(Eigen3 3.4 CONFIG REQUIRED)
add_library(tarnel::eigen ALIAS Eigen3::Eigen)
find_package(Threads REQUIRED)

tarnel_dependency(json HEADER nlohmann/json.hpp)
tarnel_dependency(cli11 HEADER CLI/CLI.hpp)
tarnel_dependency(tinyobj HEADER tiny_obj_loader.h)
tarnel_dependency(stb HEADER stb_truetype.h SUFFIXES stb)
tarnel_dependency(
    brotlicommon HEADER brotli/types.h LIBRARIES "brotlicommon|brotlicommon-static"
    PACKAGE unofficial-brotli TARGETS unofficial::brotli::brotlicommon
)
tarnel_dependency(
    brotlidec HEADER brotli/decode.h LIBRARIES "brotlidec|brotlidec-static" LINKS tarnel::brotlicommon
    PACKAGE unofficial-brotli TARGETS unofficial::brotli::brotlidec
)
tarnel_dependency(
    brotlienc HEADER brotli/encode.h LIBRARIES "brotlienc|brotlienc-static" LINKS tarnel::brotlicommon
    PACKAGE unofficial-brotli TARGETS unofficial::brotli::brotlienc
)
tarnel_dependency(zlib HEADER zlib.h LIBRARIES "z|zlib|zlibstatic")
tarnel_dependency(
    spng HEADER spng.h LIBRARIES "spng|spng_static" LINKS tarnel::zlib PACKAGE SPNG TARGETS spng::spng spng::spng_static
)
tarnel_dependency(
    zstd HEADER zstd.h LIBRARIES "zstd|zstd_static" PACKAGE zstd TARGETS zstd::libzstd_shared zstd::libzstd_static
)
tarnel_dependency(
    laszip HEADER laszip/lasreadpoint.hpp LIBRARIES "laszip" PACKAGE tarnel-laszip TARGETS tarnel-laszip::laszip
)
tarnel_dependency(
    jpeg HEADER jpeglib.h LIBRARIES "jpeg|jpeg-static"
    PACKAGE libjpeg-turbo TARGETS libjpeg-turbo::jpeg libjpeg-turbo::jpeg-static
)
tarnel_dependency(
    pugixml HEADER pugixml.hpp LIBRARIES "pugixml" PACKAGE pugixml TARGETS pugixml::pugixml pugixml::shared pugixml::static
)
add_library(tarnel::direct3d INTERFACE IMPORTED)
if(WIN32)
    if(NOT TARGET spng::spng)
        target_compile_definitions(tarnel::spng INTERFACE SPNG_STATIC)
    endif()

    tarnel_dependency(nghttp2 HEADER nghttp2/nghttp2.h LIBRARIES "nghttp2|nghttp2_static")
    tarnel_dependency(
        curl HEADER curl/curl.h LIBRARIES "curl|libcurl" LINKS tarnel::nghttp2 ws2_32 crypt32 bcrypt
        PACKAGE CURL TARGETS CURL::libcurl
    )
    if(NOT TARGET CURL::libcurl)
        target_compile_definitions(tarnel::curl INTERFACE CURL_STATICLIB)
    endif()

    target_link_libraries(tarnel::direct3d INTERFACE d3d11 dxgi $<IF:$<BOOL:${MINGW}>,d3dcompiler_47,d3dcompiler>)
    if(MINGW)
        target_link_libraries(tarnel::direct3d INTERFACE uuid)
    endif()
else()
    # Headers and libraries of DXVK's native build, which scripts/deps.sh makes.
    find_path(TARNEL_direct3d_INCLUDE d3d11.h PATH_SUFFIXES direct3d REQUIRED)
    find_library(TARNEL_direct3d_LIBRARY NAMES dxvk_d3d11 REQUIRED)
    mark_as_advanced(TARNEL_direct3d_INCLUDE TARNEL_direct3d_LIBRARY)
    get_filename_component(TARNEL_DIRECT3D_LIBRARY_DIR ${TARNEL_direct3d_LIBRARY} DIRECTORY)
    # The headers of COM use extensions and hide functions by design.
    target_include_directories(tarnel::direct3d SYSTEM INTERFACE ${TARNEL_direct3d_INCLUDE})
    target_link_libraries(tarnel::direct3d INTERFACE ${CMAKE_DL_LIBS})

    tarnel_dependency(vulkan HEADER vulkan/vulkan_core.h)

    # Linking it would cost every process ten milliseconds.
    tarnel_dependency(curl HEADER curl/curl.h)
    target_link_libraries(tarnel::curl INTERFACE ${CMAKE_DL_LIBS})

    # Headers and library of vkd3d-shader, which scripts/deps.sh makes.
    tarnel_dependency(vkd3d HEADER vkd3d_shader.h SUFFIXES vkd3d)
    find_library(TARNEL_vkd3d_LIBRARY NAMES libvkd3d-shader.so.1 REQUIRED)
    mark_as_advanced(TARNEL_vkd3d_LIBRARY)
    get_filename_component(TARNEL_VKD3D_LIBRARY_DIR ${TARNEL_vkd3d_LIBRARY} DIRECTORY)
endif()

if(TARNEL_BUILD_TESTS)
    find_package(GTest CONFIG REQUIRED)
endif()
if(TARNEL_BUILD_BENCH)
    find_package(benchmark CONFIG REQUIRED)
endif()
