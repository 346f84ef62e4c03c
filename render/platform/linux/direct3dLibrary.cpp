#include "render/platform/direct3dLibrary.h"

#include "render/platform/ComPtr.h"
#include "render/platform/linux/VulkanDevices.h"
#include "render/platform/linux/loadLibrary.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <string_view>

namespace Render
{
namespace
{
constexpr const char* kDirect3D = "libdxvk_d3d11.so.0";
constexpr const char* kDxgi = "libdxvk_dxgi.so.0";

/// Other builds want a window system or fill the working folder with logs.
constexpr std::string_view kExpectedBuild = "2.6.0-headless-1";

using CreateFactory = HRESULT (*)(REFIID, void**);
using BuildText = const char* (*)();

struct EntryPoints
{
    PFN_D3D11_CREATE_DEVICE createDevice = nullptr;
    CreateFactory createFactory = nullptr;
};

EntryPoints load()
{
    void* const direct3d = loadLibrary(kDirect3D, "it is installed beside libTarnelRender.so");
    const auto build = findFunction<BuildText>(direct3d, "dxvkHeadlessBuild");
    if (build == nullptr || build() != kExpectedBuild)
    {
        throw std::runtime_error(
            std::string(kDirect3D) + " is of another build (" + (build == nullptr ? "unknown" : build()) +
            ") than " + std::string(kExpectedBuild) + ", which is installed beside libTarnelRender.so"
        );
    }
    void* const dxgi = loadLibrary(kDxgi, "it is installed beside libTarnelRender.so");
    const EntryPoints result{
        findFunction<PFN_D3D11_CREATE_DEVICE>(direct3d, "D3D11CreateDevice"),
        findFunction<CreateFactory>(dxgi, "CreateDXGIFactory1")};
    if (result.createDevice == nullptr || result.createFactory == nullptr)
    {
        throw std::runtime_error(std::string(kDxgi) + " is broken: it lacks a function");
    }
    return result;
}

/// Loaded once and kept: drivers do not bear being unloaded while their threads end.
const EntryPoints& entryPoints()
{
    static const EntryPoints instance = load();
    return instance;
}
}  // namespace

HRESULT Direct3DLibrary::createDevice(
    IDXGIAdapter* adapter, UINT flags, ID3D11Device** device, ID3D11DeviceContext** context
)
{
    CComPtr<IDXGIAdapter1> first;
    if (adapter == nullptr)
    {
        CComPtr<IDXGIFactory1> factory;
        HRESULT result = createFactory(factory.put());
        if (SUCCEEDED(result))
        {
            result = factory->EnumAdapters1(0, first.put());
        }
        if (FAILED(result))
        {
            return result;
        }
        adapter = first;
    }
    return entryPoints().createDevice(
        adapter,
        D3D_DRIVER_TYPE_UNKNOWN,
        nullptr,
        flags,
        nullptr,
        0,
        D3D11_SDK_VERSION,
        device,
        nullptr,
        context
    );
}

HRESULT Direct3DLibrary::createFactory(IDXGIFactory1** factory)
{
    // One factory for the whole life of the process: with the last one the drivers would be unloaded, and
    // loading them again is most of the time that a device costs.
    static std::mutex mutex;
    static IDXGIFactory1* shared = nullptr;
    const std::scoped_lock lock(mutex);
    if (shared == nullptr)
    {
        CComPtr<IDXGIFactory1> created;
        const HRESULT result =
            entryPoints().createFactory(__uuidof(IDXGIFactory1), reinterpret_cast<void**>(created.put()));
        CComPtr<IDXGIAdapter1> any;
        if (FAILED(result) || FAILED(created->EnumAdapters1(0, any.put())))
        {
            *factory = nullptr;
            return FAILED(result) ? result : DXGI_ERROR_NOT_FOUND;  // a driver may come later
        }
        shared = created;
        shared->AddRef();
    }
    *factory = shared;
    shared->AddRef();
    return S_OK;
}

DriverFacts driverFacts(IDXGIAdapter1&, const DXGI_ADAPTER_DESC1& description)
{
    const VulkanDevices vulkan = askVulkan();
    const auto device = std::ranges::find_if(
        vulkan.devices,
        [&](const VulkanDevice& candidate)
        { return candidate.vendorId == description.VendorId && candidate.deviceId == description.DeviceId; }
    );
    return device == vulkan.devices.end() ? DriverFacts{} : DriverFacts{device->driver, device->isSoftware};
}

std::string missingDeviceText()
{
    return missingDeviceText(askVulkan());
}

std::string missingDebugLayerText()
{
    return "there is no debug layer of Direct3D here: DXVK has none. Vulkan's layers check what it makes of "
           "the calls: "
           "set VK_INSTANCE_LAYERS=VK_LAYER_KHRONOS_validation (package vulkan-validationlayers)";
}

std::vector<std::string> unusableAdapterTexts()
{
    return unusableDeviceTexts(askVulkan());
}
}  // namespace Render
