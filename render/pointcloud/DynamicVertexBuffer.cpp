#include "render/pointcloud/DynamicVertexBuffer.h"

#include "render/gpu/MappedResource.h"
#include "render/gpu/bufferSize.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace Render
{
namespace
{
std::string nameOf(std::size_t capacity)
{
    return "A budget of " + std::to_string(capacity) + " elements";
}
}  // namespace

DynamicVertexBuffer::DynamicVertexBuffer(ID3D11Device* device, std::size_t capacity, unsigned int stride)
    : mCapacity(std::max<std::size_t>(capacity, 1)), mStride(stride)
{
    create(device, nullptr);
}

DynamicVertexBuffer::DynamicVertexBuffer(
    ID3D11Device* device, std::span<const std::byte> bytes, unsigned int stride
)
    : mCapacity(std::max<std::size_t>(bytes.size() / stride, 1)), mStride(stride)
{
    create(device, bytes.empty() ? nullptr : bytes.data());
}

void DynamicVertexBuffer::create(ID3D11Device* device, const void* initialData)
{
    D3D11_BUFFER_DESC desc{};
    desc.ByteWidth = bufferSize(mCapacity, mStride, nameOf(mCapacity));
    desc.Usage = D3D11_USAGE_DYNAMIC;
    desc.BindFlags = D3D11_BIND_VERTEX_BUFFER;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    const D3D11_SUBRESOURCE_DATA data{initialData, 0, 0};
    throwIfFailed(
        device->CreateBuffer(&desc, initialData != nullptr ? &data : nullptr, mBuffer.put()), device
    );
    setDebugName(mBuffer, "DynamicVertexBuffer");
}

void DynamicVertexBuffer::update(ID3D11DeviceContext* context, std::span<const std::byte> bytes)
{
    if (bytes.size() > mCapacity * mStride)
    {
        throw std::invalid_argument(
            "Error: a vertex buffer of " + std::to_string(mCapacity * mStride) + " bytes cannot take " +
            std::to_string(bytes.size())
        );
    }
    update(context, std::span(&bytes, 1));
}

void DynamicVertexBuffer::update(
    ID3D11DeviceContext* context, std::span<const std::span<const std::byte>> pieces
)
{
    const MappedResource mapped(context, mBuffer, D3D11_MAP_WRITE_DISCARD);
    std::byte* to = mapped.data();
    std::size_t room = mCapacity * mStride;
    for (const std::span<const std::byte> piece : pieces)
    {
        const std::size_t size = std::min(piece.size(), room);
        to = std::ranges::copy(piece.first(size), to).out;
        room -= size;
    }
}

void DynamicVertexBuffer::set(ID3D11DeviceContext* context) const
{
    ID3D11Buffer* const buffer = mBuffer;
    const UINT offset = 0;
    context->IASetVertexBuffers(0, 1, &buffer, &mStride, &offset);
}
}  // namespace Render
