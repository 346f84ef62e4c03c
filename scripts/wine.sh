#!/usr/bin/env bash
# Runs a Windows program under Wine: scripts/wine.sh PROGRAM.exe [ARGUMENTS]. CTest calls it for every test.
#
#   TARNEL_WINE_D3D=dxvk     (default) Direct3D 11 by DXVK on Vulkan
#   TARNEL_WINE_D3D=wined3d  Wine's own Direct3D 11 on OpenGL
#   TARNEL_WINE_PREFIX       another Wine prefix than build/wineprefix, made by scripts/deps.sh
#
# Direct3D needs a display. Without DISPLAY a virtual one is started for this one program; to run many programs, do so
# inside scripts/with-wine-session.sh, which is much faster.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${TARNEL_WINE_PREFIX:-$root/build/wineprefix}
if [ ! -d "$WINEPREFIX" ]; then
    echo "wine.sh: no Wine prefix $WINEPREFIX; run scripts/deps.sh first" >&2
    exit 1
fi
case ${TARNEL_WINE_D3D:-dxvk} in
    dxvk) direct3d=n ;;
    wined3d) direct3d=b ;;
    *)
        echo "wine.sh: TARNEL_WINE_D3D is '$TARNEL_WINE_D3D', expected dxvk or wined3d" >&2
        exit 1
        ;;
esac
export WINEDLLOVERRIDES="mscoree,mshtml=;d3dcompiler_47=n;d3d11,dxgi=$direct3d"
export WINEDEBUG=${WINEDEBUG:--all}
export VK_ICD_FILENAMES=${VK_ICD_FILENAMES:-/usr/share/vulkan/icd.d/lvp_icd.x86_64.json}
export DXVK_LOG_LEVEL=${DXVK_LOG_LEVEL:-none}

if [ -n "${DISPLAY:-}" ]; then
    exec /usr/lib/wine/wine64 "$@"
fi
exec "$root/scripts/with-wine-session.sh" /usr/lib/wine/wine64 "$@"
