#pragma once

#include "render/platform/Direct3D.h"

#include <string>
#include <vector>
//
#include <dxgi.h>

namespace Render
{
/// The entry points of Direct3D 11. Whoever only reads data never comes here, so nothing is loaded for them
/// where the library is one to be loaded.
///
/// Threads  any.
namespace Direct3DLibrary
{
/// D3D11CreateDevice with the feature levels that Direct3D tries by itself.
/// @param adapter  the one to use; null for the default one
/// @param flags    of D3D11_CREATE_DEVICE_FLAG
/// @throws std::runtime_error  one line, when there is no such library
HRESULT createDevice(IDXGIAdapter* adapter, UINT flags, ID3D11Device** device, ID3D11DeviceContext** context);

/// @throws std::runtime_error  as createDevice
HRESULT createFactory(IDXGIFactory1** factory);
}  // namespace Direct3DLibrary

/// What the system knows of an adapter besides its description.
struct DriverFacts
{
    std::string driver;  ///< name and version; empty when that cannot be told
    bool isSoftware = false;
};

DriverFacts driverFacts(IDXGIAdapter1& adapter, const DXGI_ADAPTER_DESC1& description);

/// Why no device can be created: one line that names what is missing and what to install. Empty when the
/// system has no more to say than the result of the failed call.
std::string missingDeviceText();

/// Why there is no debug layer, and what there is to install or to use instead: one line.
std::string missingDebugLayerText();

/// Which graphics cards cannot be used and why, a line each.
std::vector<std::string> unusableAdapterTexts();
}  // namespace Render
