#!/usr/bin/env bash
# Installs the Debian packages that building and testing need. Does nothing, quickly, when all are there.
#
#   scripts/install-packages.sh             everything but the fuzzers
#   scripts/install-packages.sh native      what building and running on this host need
#   scripts/install-packages.sh windows     what building for Windows and running under Wine need besides
#   scripts/install-packages.sh tests       what the tests need besides
#   scripts/install-packages.sh docs        what the reference of the interface is made by
#   scripts/install-packages.sh fuzz        what the fuzzers need besides
#   scripts/install-packages.sh --list      prints them
set -euo pipefail

native=(
    build-essential cmake ninja-build pkg-config
    # what downloads and builds the libraries that have no package
    ca-certificates dpkg-dev xz-utils patch meson glslang-tools bison flex
    # Vulkan, and its drivers: graphics cards' and one in software
    libvulkan1 mesa-vulkan-drivers
    # libraries; the header-only ones serve the Windows build as well
    libeigen3-dev nlohmann-json3-dev libcli11-dev libstb-dev libtinyobjloader-dev
    libbrotli-dev libspng-dev zlib1g-dev libzstd-dev libjpeg62-turbo-dev
    libpugixml-dev libcurl4-openssl-dev
)
windows=(
    g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev libz-mingw-w64-dev googletest curl
    # Windows programs run here: Wine, a display, OpenGL in software
    wine64 wine libwine xvfb xauth libgl1-mesa-dri
)
tests=(
    ccache clang clang-format clang-tidy git lld
    libgtest-dev libgmock-dev libbenchmark-dev
    # writes image pyramids for a test
    libvips-tools
    # a web server for tests, and what makes its certificate
    nginx-light openssl
    # read completions and the manual page
    zsh groff-base
    # an example's window, and a display for it
    libsdl2-dev xvfb
)
docs=(
    doxygen
)
fuzz=(
    clang libclang-rt-14-dev
)

packages=()
isList=false
[ $# -gt 0 ] || set -- native windows tests docs
for group in "$@"; do
    case $group in
        native) packages+=("${native[@]}") ;;
        windows) packages+=("${windows[@]}") ;;
        tests) packages+=("${tests[@]}") ;;
        docs) packages+=("${docs[@]}") ;;
        fuzz) packages+=("${fuzz[@]}") ;;
        --list) isList=true packages=("${native[@]}" "${windows[@]}" "${tests[@]}" "${docs[@]}" "${fuzz[@]}") ;;
        *)
            echo "install-packages: '$group' is not known, expected native, windows, tests, docs or fuzz" >&2
            exit 2
            ;;
    esac
done
if $isList; then
    printf '%s\n' "${packages[@]}"
    exit 0
fi

installed=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' "${packages[@]}" 2>/dev/null |
    sed -n 's/ installed$//p' || true)
missing=()
for package in "${packages[@]}"; do
    grep -qxF "$package" <<<"$installed" || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

asRoot=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "install-packages: run as root or install sudo" >&2; exit 1; }
    asRoot=(sudo)
fi
apt=("${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -y -q -o DPkg::Lock::Timeout=600)

echo "Installing ${#missing[@]} Debian packages: ${missing[*]}"
"${apt[@]}" update
"${apt[@]}" install --no-install-recommends "${missing[@]}"
