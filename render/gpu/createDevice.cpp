#include "render/gpu/createDevice.h"

#include "core/toUtf8.h"
#include "render/gpu/Adapter.h"
#include "render/gpu/throwIfFailed.h"
#include "render/platform/direct3dLibrary.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
std::function<Device(const Device&)>& decorator()
{
    static std::function<Device(const Device&)> current;
    return current;
}

/// Lets a successful result pass; else says why there is no device where the system knows.
void throwIfNoDevice(HRESULT result)
{
    if (FAILED(result))
    {
        const std::string text = missingDeviceText();
        if (!text.empty())
        {
            throw std::runtime_error("no Direct3D 11 device: " + text);
        }
        throwIfFailed(result);
    }
}

std::vector<CComPtr<IDXGIAdapter1>> enumerate()
{
    CComPtr<IDXGIFactory1> factory;
    throwIfNoDevice(Direct3DLibrary::createFactory(factory.put()));
    std::vector<CComPtr<IDXGIAdapter1>> result;
    for (UINT index = 0;; ++index)
    {
        CComPtr<IDXGIAdapter1> adapter;
        const HRESULT found = factory->EnumAdapters1(index, adapter.put());
        if (found == DXGI_ERROR_NOT_FOUND)
        {
            break;
        }
        throwIfFailed(found);
        result.push_back(std::move(adapter));
    }
    if (result.empty())
    {
        throwIfNoDevice(DXGI_ERROR_NOT_FOUND);
    }
    return result;
}

Adapter describe(IDXGIAdapter1& adapter)
{
    DXGI_ADAPTER_DESC1 description{};
    throwIfFailed(adapter.GetDesc1(&description));
    DriverFacts facts = driverFacts(adapter, description);
    return {
        .name = Core::toUtf8(std::filesystem::path(std::wstring(description.Description))),
        .driver = std::move(facts.driver),
        .vendorId = description.VendorId,
        .deviceId = description.DeviceId,
        .isSoftware = facts.isSoftware};
}

std::vector<Adapter> describe(const std::vector<CComPtr<IDXGIAdapter1>>& adapters)
{
    std::vector<Adapter> result;
    result.reserve(adapters.size());
    for (const CComPtr<IDXGIAdapter1>& adapter : adapters)
    {
        result.push_back(describe(*adapter));
    }
    return result;
}

/// As it is handed out, when it can do what is needed.
Device checked(const Device& device)
{
    if (device.device->GetFeatureLevel() < D3D_FEATURE_LEVEL_11_0)
    {
        throw std::runtime_error("needs at least a DirectX 11.0 graphics card");
    }
    return decorator() ? decorator()(device) : device;
}

CComPtr<IDXGIAdapter1> chosenAdapter(const std::string& choice)
{
    const auto all = enumerate();
    const std::vector<Adapter> described = describe(all);
    if (const auto index = findAdapter(described, choice))
    {
        return all[*index];
    }
    std::string text = "no adapter fits \"" + choice + "\"; there are";
    for (std::size_t i = 0; i < described.size(); ++i)
    {
        text += (i == 0 ? " " : ", ") + std::to_string(i) + ": " + described[i].name;
    }
    throw std::runtime_error(text);
}
}  // namespace

std::vector<Adapter> adapters()
{
    return describe(enumerate());
}

std::vector<std::string> adapterTroubles()
{
    return unusableAdapterTexts();
}

Device createDevice(DebugLayer debugLayer)
{
    const std::string choice = adapterChoice();
    CComPtr<IDXGIAdapter1> adapter;
    if (!choice.empty())
    {
        adapter = chosenAdapter(choice);
    }
    Device result;
    const UINT flags = debugLayer == DebugLayer::On ? D3D11_CREATE_DEVICE_DEBUG : 0;
    const HRESULT created =
        Direct3DLibrary::createDevice(adapter, flags, result.device.put(), result.context.put());
    if (created != DXGI_ERROR_SDK_COMPONENT_MISSING)
    {
        throwIfNoDevice(created);
    }
    // Some Direct3D takes the flag and has no such layer.
    CComPtr<ID3D11Debug> debug;
    if (debugLayer == DebugLayer::On &&
        (FAILED(created) || FAILED(result.device->QueryInterface(IID_PPV_ARGS(debug.put())))))
    {
        throw std::runtime_error(missingDebugLayerText());
    }
    return checked(std::move(result));
}

Device adoptDevice(ID3D11Device* device)
{
    if ((device->GetCreationFlags() & D3D11_CREATE_DEVICE_SINGLETHREADED) != 0)
    {
        throw std::invalid_argument(
            "the device was created with D3D11_CREATE_DEVICE_SINGLETHREADED, expected one for several threads"
        );
    }
    Device result{device, {}};
    device->GetImmediateContext(result.context.put());
    return checked(std::move(result));
}

void setDeviceDecorator(std::function<Device(const Device&)> replacement)
{
    decorator() = std::move(replacement);
}
}  // namespace Render
