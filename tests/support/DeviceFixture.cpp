#include "tests/support/DeviceFixture.h"

#include "render/gpu/createDevice.h"
#include "render/gpu/throwIfFailed.h"
#include "render/platform/direct3dLibrary.h"

#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <utility>

using Render::CComPtr;
using Render::throwIfFailed;

namespace
{
bool isDeviceRequired()
{
    const char* const value = std::getenv("TARNEL_REQUIRE_DEVICE");
    return value != nullptr && std::string_view(value) == "1";
}

Render::Device strict(const Render::Device& plain)
{
    Render::Device result;
    auto* const device = new StrictDevice(plain.device, plain.context);
    result.device.attach(device);  // the reference that it is born with
    result.context = &device->context();
    return result;
}

std::size_t texelSize(DXGI_FORMAT format)
{
    switch (format)
    {
        case DXGI_FORMAT_R32G32B32A32_FLOAT:
            return 16;
        case DXGI_FORMAT_B8G8R8A8_UNORM:
        case DXGI_FORMAT_R8G8B8A8_UNORM:
        case DXGI_FORMAT_R32_TYPELESS:
        case DXGI_FORMAT_R32_FLOAT:
        case DXGI_FORMAT_R32_UINT:
        case DXGI_FORMAT_D32_FLOAT:
            return 4;
        case DXGI_FORMAT_R8_UNORM:
            return 1;
        default:
            throw std::invalid_argument("read-back of this format is not known");
    }
}

/// A copy of a resource that the CPU can read.
template <class Resource, class Desc>
CComPtr<Resource> readableCopy(
    ID3D11Device* device,
    ID3D11DeviceContext* context,
    Resource* source,
    HRESULT (STDMETHODCALLTYPE ID3D11Device::*create)(const Desc*, const D3D11_SUBRESOURCE_DATA*, Resource**)
)
{
    Desc desc{};
    source->GetDesc(&desc);
    desc.Usage = D3D11_USAGE_STAGING;
    desc.BindFlags = 0;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    desc.MiscFlags = 0;
    CComPtr<Resource> copy;
    throwIfFailed((device->*create)(&desc, nullptr, copy.put()));
    context->CopyResource(copy.get(), source);
    return copy;
}

D3D11_MAPPED_SUBRESOURCE mapForReading(ID3D11DeviceContext* context, ID3D11Resource* resource)
{
    D3D11_MAPPED_SUBRESOURCE mapped{};
    throwIfFailed(context->Map(resource, 0, D3D11_MAP_READ, 0, &mapped));
    return mapped;
}
}  // namespace

void DeviceFixture::SetUpTestSuite()
{
    Render::Device made;
    sDeviceResult = Render::Direct3DLibrary::createDevice(nullptr, 0, made.device.put(), made.context.put());
    if (SUCCEEDED(sDeviceResult))
    {
        const Render::Device checked = strict(made);
        sDevice = &dynamic_cast<StrictDevice&>(*checked.device.get());
        sPlainDevice = checked.device;
        sContext = checked.context;
    }
    Render::setDeviceDecorator(
        [](const Render::Device& plain)
        {
            const Render::Device checked = strict(plain);
            const auto [number, kind] = std::exchange(sNextFault, {0, CallFaults::Kind::OutOfMemory});
            faultsOf(checked.device).failAt(number, kind);
            return checked;
        }
    );
}

void DeviceFixture::TearDownTestSuite()
{
    Render::setDeviceDecorator(nullptr);
    sContext.release();
    sPlainDevice.release();
    sDevice = nullptr;
}

void DeviceFixture::SetUp()
{
    if (FAILED(sDeviceResult))
    {
        const std::string reason =
            std::string("no Direct3D 11 device: ") + Render::ComException(sDeviceResult).what();
        if (isDeviceRequired())
        {
            FAIL() << reason;
        }
        GTEST_SKIP() << reason;
    }
    context()->ClearState();
}

void DeviceFixture::TearDown()
{
    if (context() != nullptr)
    {
        context()->ClearState();
    }
}

void DeviceFixture::setViewport(unsigned int width, unsigned int height)
{
    const D3D11_VIEWPORT viewport{
        .TopLeftX = 0.0f,
        .TopLeftY = 0.0f,
        .Width = static_cast<float>(width),
        .Height = static_cast<float>(height),
        .MinDepth = 0.0f,
        .MaxDepth = 1.0f,
    };
    context()->RSSetViewports(1, &viewport);
}

std::vector<std::vector<std::byte>> DeviceFixture::rowsOf(ID3D11Texture2D* texture)
{
    D3D11_TEXTURE2D_DESC desc{};
    texture->GetDesc(&desc);
    const auto copy = readableCopy(device(), context(), texture, &ID3D11Device::CreateTexture2D);

    const D3D11_MAPPED_SUBRESOURCE mapped = mapForReading(context(), copy);
    std::vector<std::vector<std::byte>> rows;
    for (std::size_t y = 0; y < desc.Height; ++y)
    {
        const auto* const row = static_cast<const std::byte*>(mapped.pData) + y * mapped.RowPitch;
        rows.emplace_back(row, row + desc.Width * texelSize(desc.Format));
    }
    context()->Unmap(copy, 0);
    return rows;
}

std::vector<std::uint32_t> DeviceFixture::readBack(const Render::Texture1d& texture)
{
    D3D11_TEXTURE1D_DESC desc{};
    texture.get()->GetDesc(&desc);
    const auto copy = readableCopy(device(), context(), texture.get(), &ID3D11Device::CreateTexture1D);

    std::vector<std::uint32_t> texels(desc.Width);
    const D3D11_MAPPED_SUBRESOURCE mapped = mapForReading(context(), copy);
    std::memcpy(texels.data(), mapped.pData, texels.size() * sizeof(std::uint32_t));
    context()->Unmap(copy, 0);
    return texels;
}

std::vector<std::byte> DeviceFixture::readBack(ID3D11Buffer* buffer)
{
    D3D11_BUFFER_DESC desc{};
    buffer->GetDesc(&desc);
    const auto copy = readableCopy(device(), context(), buffer, &ID3D11Device::CreateBuffer);

    std::vector<std::byte> bytes(desc.ByteWidth);
    const D3D11_MAPPED_SUBRESOURCE mapped = mapForReading(context(), copy);
    std::memcpy(bytes.data(), mapped.pData, bytes.size());
    context()->Unmap(copy, 0);
    return bytes;
}

D3D11_TEXTURE2D_DESC DeviceFixture::textureDesc(
    unsigned int width, unsigned int height, DXGI_FORMAT format, unsigned int bindFlags
)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = width;
    desc.Height = height;
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = format;
    desc.SampleDesc.Count = 1;
    desc.Usage = D3D11_USAGE_DEFAULT;
    desc.BindFlags = bindFlags;
    return desc;
}

D3D11_TEXTURE2D_DESC DeviceFixture::dynamicTextureDesc(
    unsigned int width, unsigned int height, DXGI_FORMAT format
)
{
    D3D11_TEXTURE2D_DESC desc = textureDesc(width, height, format, D3D11_BIND_SHADER_RESOURCE);
    desc.Usage = D3D11_USAGE_DYNAMIC;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    return desc;
}

D3D11_TEXTURE2D_DESC DeviceFixture::stagingTextureDesc(
    unsigned int width, unsigned int height, DXGI_FORMAT format
)
{
    D3D11_TEXTURE2D_DESC desc = textureDesc(width, height, format, 0);
    desc.Usage = D3D11_USAGE_STAGING;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
    return desc;
}
