#!/usr/bin/env bash
# Installs the Debian packages that building and testing need. Does nothing, quickly, when all are there.
set -euo pipefail

packages=(
    # compilers and build tools
    build-essential g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev cmake ninja-build ccache pkg-config
    clang-format clang-tidy git
    # what downloads and unpacks the sources of the libraries that have no Windows package
    ca-certificates curl dpkg-dev xz-utils
    # Windows programs run here: Wine, a display, Vulkan and OpenGL in software
    wine64 wine libwine xvfb xauth libgl1-mesa-dri mesa-vulkan-drivers libvulkan1
    # libraries; the header-only ones serve the Windows build as well
    libeigen3-dev nlohmann-json3-dev libcli11-dev libtinyobjloader-dev
    libbrotli-dev libspng-dev zlib1g-dev libzstd-dev libjpeg62-turbo-dev
    libgtest-dev libgmock-dev googletest libbenchmark-dev
    libz-mingw-w64-dev
    # writes image pyramids for a test
    libvips-tools
)

if [ "${1:-}" = "--list" ]; then
    printf '%s\n' "${packages[@]}"
    exit 0
fi

missing=()
for package in "${packages[@]}"; do
    if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)" != installed ]; then
        missing+=("$package")
    fi
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
