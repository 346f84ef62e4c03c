# Builds for 64-bit Windows on Linux with the MinGW-w64 compiler that uses POSIX threads.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# GCC's caller may count on the registers that the body it saw of an inline function leaves alone. On Windows the linker
# may keep another object's body of that function, one built with other flags, which leaves others alone: seen to
# break a program whose tests and libraries were optimized differently.
set(CMAKE_C_FLAGS_INIT -fno-ipa-ra)
set(CMAKE_CXX_FLAGS_INIT -fno-ipa-ra)

# Where scripts/deps.sh puts the libraries that are built for Windows.
if(NOT DEFINED TARNEL_DEPS_PREFIX)
    if(DEFINED ENV{TARNEL_DEPS_PREFIX})
        set(TARNEL_DEPS_PREFIX $ENV{TARNEL_DEPS_PREFIX})
    else()
        set(TARNEL_DEPS_PREFIX ${CMAKE_CURRENT_LIST_DIR}/../build/deps/windows)
    endif()
endif()
get_filename_component(TARNEL_DEPS_PREFIX ${TARNEL_DEPS_PREFIX} ABSOLUTE)
set(TARNEL_DEPS_PREFIX ${TARNEL_DEPS_PREFIX} CACHE PATH "Prefix of the libraries built for Windows")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TARNEL_DEPS_PREFIX)

# CMAKE_PREFIX_PATH is searched as well when it lies below one of these, or names another install tree.
set(CMAKE_FIND_ROOT_PATH ${TARNEL_DEPS_PREFIX} /usr/x86_64-w64-mingw32 ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
