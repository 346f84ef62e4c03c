# Builds for 64-bit Windows on Linux with Clang: its compiler and linker, with the C++ library, the runtime and the system
# libraries of the MinGW-w64 cross compiler, so that libraries built by that one can be linked.
include(${CMAKE_CURRENT_LIST_DIR}/MingwToolchain.cmake)

execute_process(
    COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name
    OUTPUT_VARIABLE gccFolder
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY
)
get_filename_component(gccFolder ${gccFolder} DIRECTORY)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_SYSROOT /usr/x86_64-w64-mingw32)

# Clang does not find the folder by itself, since Debian's has "posix" in its name. Variables of threads are as in the C++
# library, which passes what std::call_once calls in one.
set(CMAKE_C_FLAGS_INIT "-B${gccFolder} -femulated-tls")
string(
    JOIN " " CMAKE_CXX_FLAGS_INIT
    ${CMAKE_C_FLAGS_INIT}
    -nostdinc++
    -cxx-isystem ${gccFolder}/include/c++
    -cxx-isystem ${gccFolder}/include/c++/x86_64-w64-mingw32
)
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -L${gccFolder} -pthread -Wno-unused-command-line-argument")
endforeach()
