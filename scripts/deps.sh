#!/usr/bin/env bash
# Makes what the builds and the test runs need and Debian has no package for, below build/deps:
#
#   native/    prefix of this host's libraries: Direct3D 11 on Vulkan (DXVK's native build), LASzip's coder, and the
#              HLSL compiler for shaders that a host brings along
#   windows/   prefix of the third-party libraries, built for Windows from Debian's source packages, and links to
#              those libraries that are only headers
#   wine/      DXVK for Wine, the Direct3D shader compiler, a program that keeps Wine running
#
# and the Wine prefix build/wineprefix. Finished parts are skipped; a part is made again when its recipe changes.
#
#   scripts/deps.sh            everything
#   scripts/deps.sh native     what the native build needs
#   scripts/deps.sh windows    what the Windows build and Wine need
#   scripts/deps.sh tests      what the tests need besides
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

deps=$tarnelBuild/deps
prefix=$deps/windows
native=$deps/native
sources=$deps/sources
wine=$deps/wine
stamps=$deps/stamps
toolchain=$tarnelRoot/cmake/MingwToolchain.cmake
roads=("$@")
[ $# -gt 0 ] || roads=(native windows tests)
mkdir -p "$prefix/lib" "$prefix/include" "$native" "$sources" "$wine" "$stamps"

# --- how parts are made once -----------------------------------------------------------------------------------

# part <name> <what happens> [<files it reads>...]: runs make_<name> unless it ran before in its present form.
part() {
    local name=$1 text=$2 key
    shift 2
    key=$( (declare -f "make_$name"; cat /dev/null "$@") | sha256sum)
    if [ "$(cat "$stamps/$name" 2>/dev/null)" = "$key" ]; then
        return
    fi
    step "deps-$name" "$text" runPart "$name"
    echo "$key" >"$stamps/$name"
}

# A subshell of its own, so that an error in the middle of a recipe ends it.
runPart() { bash -euo pipefail -c "$(declare -f); $(declare -p tarnelRoot tarnelBuild tarnelJobs deps prefix native sources wine toolchain); make_$1"; }

# --- Debian's archive, with lists and caches of our own --------------------------------------------------------

# archive <suite> <type>: an apt configuration for Debian's main archive only; prints apt-get's options. The newest
# security releases are left out because their sources are not always there.
archive() {
    local folder=$deps/apt/$1-$2 uri=http://deb.debian.org/debian configured
    configured=$(cat /etc/apt/sources.list.d/debian.sources /etc/apt/sources.list 2>/dev/null |
        grep -Eom1 '(^URIs:|^deb ) *[a-z]+://[^ ]+/debian/?( |$)' | grep -Eo '[a-z]+://[^ ]+' || true)
    uri=${configured:-$uri}
    mkdir -p "$folder/lists/partial" "$folder/cache/archives/partial"
    echo "$2 [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $uri $1 main" >"$folder/sources.list"
    printf -- '-o Dir::Etc::sourcelist=%s -o Dir::Etc::sourceparts=/dev/null -o Dir::State::lists=%s ' \
        "$folder/sources.list" "$folder/lists"
    printf -- '-o Dir::Cache=%s -o APT::Sandbox::User= -o Acquire::Retries=3 -o Acquire::Languages=none' \
        "$folder/cache"
}

make_lists() {
    apt-get $(archive "$(suite)" deb-src) update
    apt-get $(archive trixie deb-src) update
    apt-get $(archive trixie deb) update
}

suite() { . /etc/os-release && echo "$VERSION_CODENAME"; }

# unpackedSource <source package>: downloads and unpacks it; prints the folder.
unpackedSource() {
    local folder=$sources/$1
    if [ ! -e "$folder/.complete" ]; then
        rm -rf "$folder" && mkdir -p "$folder/package"
        (cd "$folder/package" && apt-get $(archive "$(suite)" deb-src) -q source --download-only "$1") >&2
        dpkg-source --no-check -x "$folder"/package/*.dsc "$folder/tree" >&2
        touch "$folder/.complete"
    fi
    echo "$folder/tree"
}

# unpackedRelease <source package> <suite>: the same for what its authors released, without Debian's changes, which the
# archive's servers do not always have for other suites than this host's.
unpackedRelease() {
    local folder=$sources/$1
    if [ ! -e "$folder/.complete" ]; then
        rm -rf "$folder" && mkdir -p "$folder/package" "$folder/tree"
        (cd "$folder/package" && apt-get $(archive "$2" deb-src) -q source --download-only --tar-only "$1") >&2
        tar -xf "$folder"/package/*.orig.tar.* -C "$folder/tree" --strip-components=1
        touch "$folder/.complete"
    fi
    echo "$folder/tree"
}

# fromTrixie <folder> <package>...: unpacks packages of Debian 13 there without installing them.
fromTrixie() {
    local folder=$1 package
    shift
    rm -rf "$folder" && mkdir -p "$folder"
    (cd "$folder" && apt-get $(archive trixie deb) -q download "$@") >&2
    for package in "$folder"/*.deb; do
        dpkg-deb -x "$package" "$folder"
    done
}

# --- libraries for this host -----------------------------------------------------------------------------------

make_laszip() { # Debian 12 has no package of it
    local tree
    tree=$(unpackedRelease laszip trixie)
    rm -rf "$sources/laszip/build-native"
    cmake -G Ninja -S "$tarnelRoot/cmake/laszip" -B "$sources/laszip/build-native" -DLASZIP_SOURCE="$tree" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$native"
    ninja -C "$sources/laszip/build-native" install
}

# Direct3D 11 on Vulkan. The headers of Vulkan and SPIR-V come from Debian 13 because Debian 12's are too old for it.
# Optimization beyond -O1 doubles the time to build, for a part of a picture's time that cannot be felt.
make_dxvk_native() {
    local tree headers=$sources/dxvk/headers component
    rm -rf "$sources/dxvk"
    tree=$(unpackedRelease dxvk trixie)
    fromTrixie "$headers" libvulkan-dev spirv-headers
    mkdir -p "$tree/include/vulkan/include" "$tree/include/spirv/include"
    ln -s "$headers"/usr/include/{vulkan,vk_video} "$tree/include/vulkan/include/"
    ln -s "$headers/usr/include/spirv" "$tree/include/spirv/include/"
    for component in mingw-directx-headers:include/native/directx libdisplay-info:subprojects/libdisplay-info; do
        mkdir -p "$tree/${component#*:}"
        tar -xf "$sources/dxvk/package"/dxvk_*.orig-"${component%%:*}".tar.* -C "$tree/${component#*:}" --strip-components=1
    done
    patch -d "$tree" -p1 <"$tarnelRoot/cmake/dxvk/headless.patch"

    local flags="-O1 -DNDEBUG" # GIT_DIR: the version would be taken from this repository
    GIT_DIR=$sources/dxvk/none meson setup "$sources/dxvk/build" "$tree" --buildtype=plain --strip --libdir=lib --prefix="$native" \
        -Dc_args="$flags" -Dcpp_args="$flags" -Denable_d3d8=false -Denable_d3d9=false -Denable_d3d10=false
    GIT_DIR=$sources/dxvk/none ninja -C "$sources/dxvk/build" install
    rm -rf "$native/include/direct3d"
    mkdir -p "$native/include/direct3d"
    cp "$tree"/include/native/{windows,directx}/*.h "$native/include/direct3d/"
    cp "$tree/include/native/directx/COPYING.MinGW-w64.txt" "$native/include/direct3d/"
    cp -rL "$headers"/usr/include/{vulkan,vk_video} "$native/include/"
    rm -rf "$sources/dxvk/build"
}

# The shader library that Wine's sources have; of them only its own folder is unpacked. Optimized for size: it builds in
# half the time, and compiling HLSL takes as long.
make_vkd3d() {
    local folder=$sources/vkd3d
    rm -rf "$folder" && mkdir -p "$folder/package" "$folder/tree"
    (cd "$folder/package" && apt-get $(archive trixie deb-src) -q source --download-only --tar-only wine)
    tar -xf "$folder"/package/wine_*.orig.tar.* -C "$folder/tree" --strip-components=1 --wildcards \
        '*/COPYING.LIB' '*/include/d3dcommon.idl' '*/include/d3dx9shader.h' '*/include/wine/list.h' \
        '*/include/wine/rbtree.h' '*/libs/vkd3d'
    rm -rf "$folder/package" # 28 MB
    cmake -G Ninja -S "$tarnelRoot/cmake/vkd3d" -B "$folder/build" -DVKD3D_SOURCE="$folder/tree" \
        -DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_INSTALL_PREFIX="$native"
    ninja -C "$folder/build" -j "$tarnelJobs" install/strip
}

# --- libraries for Windows -------------------------------------------------------------------------------------

# crossBuild <name> <source folder> <cmake arguments...>: configures; the caller builds and installs.
crossConfigure() {
    local name=$1 source=$2
    shift 2
    rm -rf "$sources/$name/build" # its flags would be those of its first configuration
    cmake -G Ninja -S "$source" -B "$sources/$name/build" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DTARNEL_DEPS_PREFIX="$prefix" \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib -DBUILD_SHARED_LIBS=OFF "$@"
}

make_headers() { # one folder of links: with /usr/include itself the host's C headers would be found first
    local name
    for name in eigen3 nlohmann CLI stb tiny_obj_loader.h; do
        ln -sfn "/usr/include/$name" "$prefix/include/$name"
    done
    mkdir -p "$prefix/share"
    ln -sfn /usr/share/eigen3 "$prefix/share/eigen3"
    for name in zlib.h zconf.h; do
        ln -sfn "/usr/x86_64-w64-mingw32/include/$name" "$prefix/include/$name"
    done
    ln -sfn /usr/x86_64-w64-mingw32/lib/libz.a "$prefix/lib/libz.a"
}

make_brotli() {
    local tree
    tree=$(unpackedSource brotli)
    crossConfigure brotli "$tree" -DBROTLI_DISABLE_TESTS=ON
    ninja -C "$sources/brotli/build" brotlicommon-static brotlidec-static brotlienc-static
    cp "$sources"/brotli/build/libbrotli*-static.a "$prefix/lib/"
    cp -r "$tree/c/include/brotli" "$prefix/include/"
}

make_spng() { # one file; its own build cannot make a static library alone
    local tree
    tree=$(unpackedSource libspng)
    x86_64-w64-mingw32-gcc-posix -O3 -DNDEBUG -DSPNG_STATIC -isystem "$prefix/include" -c "$tree/spng/spng.c" \
        -o "$sources/libspng/spng.o"
    rm -f "$prefix/lib/libspng.a"
    x86_64-w64-mingw32-ar rcs "$prefix/lib/libspng.a" "$sources/libspng/spng.o"
    cp "$tree/spng/spng.h" "$prefix/include/"
}

make_zstd() {
    local tree
    tree=$(unpackedSource libzstd)
    crossConfigure libzstd "$tree/build/cmake" -DZSTD_BUILD_SHARED=OFF -DZSTD_BUILD_PROGRAMS=OFF \
        -DZSTD_MULTITHREAD_SUPPORT=OFF
    ninja -C "$sources/libzstd/build" install
}

make_jpeg() {
    local tree
    tree=$(unpackedSource libjpeg-turbo)
    crossConfigure libjpeg-turbo "$tree" -DENABLE_SHARED=OFF -DWITH_SIMD=OFF -DWITH_TURBOJPEG=OFF
    ninja -C "$sources/libjpeg-turbo/build" jpeg-static
    cp "$sources/libjpeg-turbo/build/libjpeg.a" "$prefix/lib/"
    cp "$tree"/{jpeglib,jmorecfg,jerror}.h "$sources/libjpeg-turbo/build/jconfig.h" "$prefix/include/"
}

make_pugixml() {
    local tree
    tree=$(unpackedSource pugixml)
    crossConfigure pugixml "$tree"
    ninja -C "$sources/pugixml/build" install
}

make_laszip_windows() {
    local tree
    tree=$(unpackedRelease laszip trixie)
    crossConfigure laszip "$tarnelRoot/cmake/laszip" -DLASZIP_SOURCE="$tree"
    ninja -C "$sources/laszip/build" install
}

# HTTP/2 for curl. It cannot be built where there are two clocks that it knows.
make_nghttp2() {
    local tree
    tree=$(unpackedSource nghttp2)
    crossConfigure nghttp2 "$tree" -DENABLE_LIB_ONLY=ON -DENABLE_STATIC_LIB=ON -DENABLE_SHARED_LIB=OFF -DHAVE_CLOCK_GETTIME=OFF
    ninja -C "$sources/nghttp2/build" nghttp2_static
    cp "$sources/nghttp2/build/lib/libnghttp2.a" "$prefix/lib/"
    mkdir -p "$prefix/include/nghttp2"
    cp "$tree/lib/includes/nghttp2/nghttp2.h" "$sources/nghttp2/build/lib/includes/nghttp2/nghttp2ver.h" \
        "$prefix/include/nghttp2/"
}

# HTTP alone, with the system's TLS and its certificates.
make_curl() {
    local tree
    tree=$(unpackedSource curl)
    crossConfigure curl "$tree" -DCMAKE_C_FLAGS="-fno-ipa-ra -DNGHTTP2_STATICLIB" -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF \
        -DHTTP_ONLY=ON -DCURL_USE_SCHANNEL=ON -DUSE_NGHTTP2=ON -DUSE_LIBIDN2=OFF -DCURL_USE_LIBSSH2=OFF \
        -DCURL_USE_LIBPSL=OFF -DCURL_ZLIB=OFF -DCURL_BROTLI=OFF -DCURL_ZSTD=OFF -DCURL_DISABLE_COOKIES=ON \
        -DCURL_DISABLE_ALTSVC=ON -DCURL_DISABLE_HSTS=ON -DENABLE_MANUAL=OFF \
        -DNGHTTP2_INCLUDE_DIR="$prefix/include" -DNGHTTP2_LIBRARY="$prefix/lib/libnghttp2.a"
    ninja -C "$sources/curl/build" libcurl
    cp "$sources/curl/build/lib/libcurl.a" "$prefix/lib/"
    rm -rf "$prefix/include/curl"
    mkdir -p "$prefix/include/curl"
    cp "$tree"/include/curl/*.h "$prefix/include/curl/"
}

make_googletest() {
    mkdir -p "$sources/googletest"
    crossConfigure googletest /usr/src/googletest
    ninja -C "$sources/googletest/build" install
}

make_benchmark() {
    local tree
    tree=$(unpackedSource benchmark)
    crossConfigure benchmark "$tree" -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_GTEST_TESTS=OFF \
        -DBENCHMARK_ENABLE_WERROR=OFF -DGIT_VERSION=0.0.0 -DHAVE_STD_REGEX=ON -DHAVE_STEADY_CLOCK=ON
    ninja -C "$sources/benchmark/build" install
}

make_sdl() { # shows an example's window
    local tree
    tree=$(unpackedSource libsdl2)
    crossConfigure libsdl2 "$tree" -DSDL_SHARED=OFF -DSDL_STATIC=ON -DSDL_TEST=OFF -DSDL_AUDIO=OFF -DSDL_JOYSTICK=OFF \
        -DSDL_HAPTIC=OFF -DSDL_HIDAPI=OFF -DSDL_SENSOR=OFF -DSDL_POWER=OFF -DSDL_OPENGL=OFF -DSDL_OPENGLES=OFF -DSDL_VULKAN=OFF
    ninja -C "$sources/libsdl2/build" install
}

# --- what Wine needs to run Direct3D 11 programs ---------------------------------------------------------------

make_dxvk() {
    local folder=$sources/dxvk-wine
    rm -rf "$folder" && mkdir -p "$folder" && cd "$folder"
    apt-get $(archive trixie deb) -q download dxvk-wine64
    dpkg-deb -x dxvk-wine64_*.deb x
    mkdir -p "$wine/dxvk"
    cp x/usr/lib/dxvk/wine64/d3d11.dll.so "$wine/dxvk/d3d11.dll"
    cp x/usr/lib/dxvk/wine64/dxgi.dll.so "$wine/dxvk/dxgi.dll"
}

make_d3dcompiler() { # Wine's own compiler cannot compile our shaders
    local folder=$sources/d3dcompiler dll=package/deps/windows/dll/x64/d3dcompiler_47.dll
    if ! command -v npm >/dev/null; then
        local asRoot=()
        [ "$(id -u)" -eq 0 ] || asRoot=(sudo)
        "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -y -q -o DPkg::Lock::Timeout=600 update
        "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -y -q -o DPkg::Lock::Timeout=600 \
            install --no-install-recommends npm
    fi
    rm -rf "$folder" && mkdir -p "$folder" && cd "$folder"
    npm pack --loglevel=error gl@8.1.6
    tar -xzf gl-8.1.6.tgz "$dll"
    echo "e994847e01a6f1e4cbdc5a864616ac262f67ee4f14db194984661a8d927ab7f4  $dll" | sha256sum -c -
    cp "$dll" "$wine/d3dcompiler_47.dll"
}

make_idle() {
    x86_64-w64-mingw32-g++-posix -O1 -static -o "$wine/idle.exe" "$tarnelRoot/tests/support/idle.cpp"
}

# DXVK stands in the prefix's system folder, where Windows keeps its Direct3D. Which of the two is used, it or Wine's
# own, is chosen for each run by scripts/wine.sh.
make_wineprefix() {
    export WINEPREFIX=$tarnelBuild/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
    local system32=$WINEPREFIX/drive_c/windows/system32
    rm -rf "$WINEPREFIX"
    xvfb-run -a bash -euc '
        /usr/lib/wine/wine64 wineboot -i
        # a crash must end a program, not open a dialog
        /usr/lib/wine/wine64 reg add "HKCU\Software\Wine\WineDbg" /v ShowCrashDialog /t REG_DWORD /d 0 /f
        /usr/lib/wine/wineserver64 -w' || return 1
    local dll
    for dll in "$wine"/dxvk/*.dll "$wine/d3dcompiler_47.dll"; do
        rm -f "$system32/$(basename "$dll")"
        cp "$dll" "$system32/"
    done
}

forNative() {
    part laszip "building LASzip for this host" "$tarnelRoot"/cmake/laszip/*
    part dxvk_native "building DXVK, Direct3D 11 on Vulkan, for this host" "$tarnelRoot/cmake/dxvk/headless.patch"
    part vkd3d "building the shader compiler for this host" "$tarnelRoot/cmake/vkd3d/CMakeLists.txt" \
        "$tarnelRoot"/cmake/vkd3d/include/*
}

forWindows() {
    part headers "linking the libraries that are only headers"
    part brotli "building brotli for Windows" "$toolchain"
    part spng "building libspng for Windows"
    part zstd "building zstd for Windows" "$toolchain"
    part jpeg "building libjpeg-turbo for Windows" "$toolchain"
    part pugixml "building pugixml for Windows" "$toolchain"
    part laszip_windows "building LASzip for Windows" "$toolchain" "$tarnelRoot"/cmake/laszip/*
    part nghttp2 "building nghttp2 for Windows" "$toolchain"
    part curl "building curl for Windows" "$toolchain"
    part googletest "building GoogleTest for Windows" "$toolchain"
    part benchmark "building Google Benchmark for Windows" "$toolchain"
    part dxvk "fetching DXVK"
    part d3dcompiler "fetching the Direct3D shader compiler"
    part idle "building the program that keeps Wine running" "$tarnelRoot/tests/support/idle.cpp"
    part wineprefix "creating the Wine prefix"
}

forTests() {
    part sdl "building SDL for Windows" "$toolchain"
}

part lists "reading the lists of Debian's archive"
for road in "${roads[@]}"; do
    case $road in
        native) forNative ;;
        windows) forWindows ;;
        tests) forTests ;;
        *)
            echo "deps.sh: '$road' is not known, expected native, windows or tests" >&2
            exit 2
            ;;
    esac
done
