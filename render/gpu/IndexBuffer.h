#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Render
{
/// Owns an immutable buffer of 32-bit vertex indices.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API IndexBuffer
{
public:
    /// Empty, without indices.
    IndexBuffer() = default;

    /// @throws ComException  when the buffer cannot be created; E_INVALIDARG for no indices, or for more
    ///                       bytes than 32 bits count
    IndexBuffer(ID3D11Device* device, const unsigned int* indices, std::size_t count);
    /// The same of all indices of the list.
    IndexBuffer(ID3D11Device* device, const std::vector<unsigned int>& indices);

    IndexBuffer(const IndexBuffer&) = delete;
    IndexBuffer& operator=(const IndexBuffer&) = delete;
    IndexBuffer(IndexBuffer&&) noexcept = default;
    IndexBuffer& operator=(IndexBuffer&&) noexcept = default;
    ~IndexBuffer() = default;

    /// Makes this the index buffer of the following draws.
    /// @param offset  bytes before the first index
    void begin(ID3D11DeviceContext* context, unsigned int offset);

    /// Leaves no index buffer set; harmless without begin.
    void end(ID3D11DeviceContext* context);

    /// Number of indices.
    std::uint64_t numIndices() const noexcept { return mNumIndices; }

private:
    CComPtr<ID3D11Buffer> mBuffer;
    std::uint64_t mNumIndices = 0;
    unsigned int mOffset = 0;
};
}  // namespace Render
