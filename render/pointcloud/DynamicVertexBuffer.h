#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <cstddef>
#include <span>

namespace Render
{
/// Owns a vertex buffer of a fixed capacity whose contents the CPU replaces from time to time.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API DynamicVertexBuffer
{
public:
    /// @param capacity  in elements; 0 counts as 1, since Direct3D has no empty buffers
    /// @param stride    bytes of one element
    /// @throws std::invalid_argument  when the buffer is larger than Direct3D can express
    /// @throws ComException           when the device cannot create it
    DynamicVertexBuffer(ID3D11Device* device, std::size_t capacity, unsigned int stride);

    /// Sized for these elements, which are its first contents.
    DynamicVertexBuffer(ID3D11Device* device, std::span<const std::byte> bytes, unsigned int stride);

    DynamicVertexBuffer(const DynamicVertexBuffer&) = delete;
    DynamicVertexBuffer& operator=(const DynamicVertexBuffer&) = delete;
    DynamicVertexBuffer(DynamicVertexBuffer&&) noexcept = default;
    DynamicVertexBuffer& operator=(DynamicVertexBuffer&&) noexcept = default;
    ~DynamicVertexBuffer() = default;

    /// Replaces the contents.
    /// @param bytes  whole elements, at most the capacity
    /// @throws std::invalid_argument  for more; nothing is written then
    /// @throws ComException           when the buffer cannot be mapped
    void update(ID3D11DeviceContext* context, std::span<const std::byte> bytes);

    /// Replaces the contents by these, one after the other; what has no room is left out.
    /// @throws ComException  when the buffer cannot be mapped
    void update(ID3D11DeviceContext* context, std::span<const std::span<const std::byte>> pieces);

    /// Makes the buffer the only one that the input assembler reads: slot 0, from its start.
    void set(ID3D11DeviceContext* context) const;

    /// In elements.
    std::size_t capacity() const noexcept { return mCapacity; }

private:
    void create(ID3D11Device* device, const void* initialData);

    CComPtr<ID3D11Buffer> mBuffer;
    std::size_t mCapacity;
    unsigned int mStride;
};
}  // namespace Render
