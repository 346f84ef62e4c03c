#include "render/pointcloud/DynamicVertexBuffer.h"

#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

namespace Render
{
namespace
{
UINT byteWidth(std::size_t capacity, unsigned int stride)
{
    constexpr std::uint64_t kLargest = std::numeric_limits<UINT>::max();
    if (capacity > kLargest / stride)
    {
        throw std::invalid_argument(
            "A vertex buffer of " + std::to_string(capacity) + " elements of " + std::to_string(stride) +
            " bytes is larger than the " + std::to_string(kLargest) + " bytes that Direct3D can address"
        );
    }
    return static_cast<UINT>(capacity * stride);
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
    desc.ByteWidth = byteWidth(mCapacity, mStride);
    desc.Usage = D3D11_USAGE_DYNAMIC;
    desc.BindFlags = D3D11_BIND_VERTEX_BUFFER;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    const D3D11_SUBRESOURCE_DATA data{initialData, 0, 0};
    throwIfFailed(device->CreateBuffer(&desc, initialData != nullptr ? &data : nullptr, mBuffer.put()));
    setDebugName(mBuffer, "DynamicVertexBuffer");
}

void DynamicVertexBuffer::update(ID3D11DeviceContext* context, std::span<const std::byte> bytes)
{
    assert(bytes.size() <= mCapacity * mStride);
    update(context, std::span(&bytes, 1));
}

void DynamicVertexBuffer::update(
    ID3D11DeviceContext* context, std::span<const std::span<const std::byte>> pieces
)
{
    D3D11_MAPPED_SUBRESOURCE mapped{};
    throwIfFailed(context->Map(mBuffer, 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped));
    auto* to = static_cast<std::byte*>(mapped.pData);
    std::size_t room = mCapacity * mStride;
    for (const std::span<const std::byte> piece : pieces)
    {
        const std::size_t size = std::min(piece.size(), room);
        if (size > 0)
        {
            std::memcpy(to, piece.data(), size);
        }
        to += size;
        room -= size;
    }
    context->Unmap(mBuffer, 0);
}

void DynamicVertexBuffer::set(ID3D11DeviceContext* context) const
{
    ID3D11Buffer* const buffer = mBuffer;
    const UINT offset = 0;
    context->IASetVertexBuffers(0, 1, &buffer, &mStride, &offset);
}
}  // namespace Render
