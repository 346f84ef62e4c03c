#include "render/gpu/ShaderBuffer.h"

#include "render/gpu/MappedResource.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

namespace Render
{
namespace
{
constexpr unsigned int kWord = 4;

bool isRaw(const D3D11_BUFFER_DESC& desc)
{
    return (desc.MiscFlags & D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS) != 0;
}

bool isStructured(const D3D11_BUFFER_DESC& desc)
{
    return (desc.MiscFlags & D3D11_RESOURCE_MISC_BUFFER_STRUCTURED) != 0;
}

UINT elementCount(const D3D11_BUFFER_DESC& desc)
{
    return desc.ByteWidth / (isStructured(desc) ? desc.StructureByteStride : kWord);
}

DXGI_FORMAT viewFormat(const D3D11_BUFFER_DESC& desc)
{
    if (isStructured(desc))
    {
        return DXGI_FORMAT_UNKNOWN;
    }
    return isRaw(desc) ? DXGI_FORMAT_R32_TYPELESS : DXGI_FORMAT_R32_UINT;
}

D3D11_BUFFER_DESC description(D3D11_USAGE usage, UINT bindFlags, UINT miscFlags, unsigned int stride)
{
    D3D11_BUFFER_DESC desc{};
    desc.Usage = usage;
    desc.BindFlags = bindFlags | D3D11_BIND_SHADER_RESOURCE;
    desc.CPUAccessFlags = usage == D3D11_USAGE_DYNAMIC ? static_cast<UINT>(D3D11_CPU_ACCESS_WRITE) : 0U;
    desc.MiscFlags = miscFlags;
    desc.StructureByteStride = stride;
    return desc;
}
}  // namespace

ShaderBuffer::ShaderBuffer(
    ID3D11Device* device,
    D3D11_BUFFER_DESC desc,
    std::size_t byteWidth,
    const char* name,
    const std::string& purpose
)
    : mByteWidth(byteWidth)
{
    if (byteWidth > std::numeric_limits<UINT>::max())
    {
        throw std::length_error(
            "A buffer of " + std::to_string(byteWidth) + " bytes is larger than Direct3D can address"
        );
    }
    desc.ByteWidth = static_cast<UINT>(byteWidth);
    throwIfFailed(device->CreateBuffer(&desc, nullptr, mBuffer.put()), device, purpose);
    setDebugName(mBuffer, name);

    D3D11_SHADER_RESOURCE_VIEW_DESC resource{};
    resource.Format = viewFormat(desc);
    resource.ViewDimension = D3D11_SRV_DIMENSION_BUFFEREX;
    resource.BufferEx.NumElements = elementCount(desc);
    resource.BufferEx.Flags = isRaw(desc) ? static_cast<UINT>(D3D11_BUFFEREX_SRV_FLAG_RAW) : 0U;
    throwIfFailed(device->CreateShaderResourceView(mBuffer, &resource, mResourceView.put()), device, purpose);

    if ((desc.BindFlags & D3D11_BIND_UNORDERED_ACCESS) != 0)
    {
        D3D11_UNORDERED_ACCESS_VIEW_DESC access{};
        access.Format = resource.Format;
        access.ViewDimension = D3D11_UAV_DIMENSION_BUFFER;
        access.Buffer.NumElements = elementCount(desc);
        access.Buffer.Flags = isRaw(desc) ? static_cast<UINT>(D3D11_BUFFER_UAV_FLAG_RAW) : 0U;
        throwIfFailed(
            device->CreateUnorderedAccessView(mBuffer, &access, mAccessView.put()), device, purpose
        );
    }
}

ShaderBuffer ShaderBuffer::dynamic(ID3D11Device* device, unsigned int stride, std::size_t count)
{
    return ShaderBuffer(
        device,
        description(D3D11_USAGE_DYNAMIC, 0, D3D11_RESOURCE_MISC_BUFFER_STRUCTURED, stride),
        stride * count,
        "ShaderBuffer dynamic"
    );
}

ShaderBuffer ShaderBuffer::writable(ID3D11Device* device, std::size_t count)
{
    return ShaderBuffer(
        device,
        description(D3D11_USAGE_DEFAULT, D3D11_BIND_UNORDERED_ACCESS, 0, 0),
        kWord * count,
        "ShaderBuffer writable"
    );
}

ShaderBuffer ShaderBuffer::writableBytes(
    ID3D11Device* device, std::size_t byteWidth, const std::string& purpose
)
{
    return ShaderBuffer(
        device,
        description(
            D3D11_USAGE_DEFAULT, D3D11_BIND_UNORDERED_ACCESS, D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS, 0
        ),
        byteWidth,
        "ShaderBuffer writable bytes",
        purpose
    );
}

ShaderBuffer ShaderBuffer::vertexBytes(
    ID3D11Device* device, std::size_t byteWidth, const std::string& purpose
)
{
    return ShaderBuffer(
        device,
        description(
            D3D11_USAGE_DEFAULT, D3D11_BIND_VERTEX_BUFFER, D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS, 0
        ),
        byteWidth,
        "ShaderBuffer vertex bytes",
        purpose
    );
}

void ShaderBuffer::update(ID3D11DeviceContext* context, std::span<const std::byte> bytes)
{
    if (bytes.size() > mByteWidth)
    {
        throw std::length_error(
            std::to_string(bytes.size()) + " bytes were to be written into a buffer of " +
            std::to_string(mByteWidth)
        );
    }
    const MappedResource mapped(context, mBuffer, D3D11_MAP_WRITE_DISCARD);
    std::ranges::copy(bytes, mapped.data());
}
}  // namespace Render
