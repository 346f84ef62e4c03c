#include "render/platform/direct3dLibrary.h"

namespace Render
{
HRESULT Direct3DLibrary::createDevice(
    IDXGIAdapter* adapter, UINT flags, ID3D11Device** device, ID3D11DeviceContext** context
)
{
    const D3D_DRIVER_TYPE type = adapter == nullptr ? D3D_DRIVER_TYPE_HARDWARE : D3D_DRIVER_TYPE_UNKNOWN;
    return D3D11CreateDevice(
        adapter, type, nullptr, flags, nullptr, 0, D3D11_SDK_VERSION, device, nullptr, context
    );
}

HRESULT Direct3DLibrary::createFactory(IDXGIFactory1** factory)
{
    return CreateDXGIFactory1(__uuidof(IDXGIFactory1), reinterpret_cast<void**>(factory));
}

DriverFacts driverFacts(IDXGIAdapter1& adapter, const DXGI_ADAPTER_DESC1& description)
{
    DriverFacts facts;
    facts.isSoftware = (description.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0;
    LARGE_INTEGER version{};
    if (SUCCEEDED(adapter.CheckInterfaceSupport(__uuidof(IDXGIDevice), &version)))
    {
        const auto part = [&](int shift) { return std::to_string((version.QuadPart >> shift) & 0xFFFF); };
        facts.driver = part(48) + '.' + part(32) + '.' + part(16) + '.' + part(0);
    }
    return facts;
}

std::string missingDeviceText()
{
    return {};  // the text of the failed call is what there is
}

std::string missingDebugLayerText()
{
    return "there is no debug layer of Direct3D here: install the optional Windows feature \"Graphics "
           "Tools\"";
}

std::vector<std::string> unusableAdapterTexts()
{
    return {};  // the system lists whatever has a driver
}
}  // namespace Render
