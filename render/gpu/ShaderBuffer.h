#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <span>
#include <string>

namespace Render
{
/// Owns a buffer that shaders index like an array, with its views.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API ShaderBuffer
{
public:
    /// Empty: no buffer and no views.
    ShaderBuffer() = default;

    /// Written by the CPU, read by shaders as a StructuredBuffer.
    /// @param stride  bytes of an element, a multiple of 4
    /// @param count   elements, at least 1
    /// @throws ComException  when the device refuses it
    static ShaderBuffer dynamic(ID3D11Device* device, unsigned int stride, std::size_t count);

    /// Written and read by shaders as a Buffer<uint>.
    static ShaderBuffer writable(ID3D11Device* device, std::size_t count);

    /// Written and read by shaders as a ByteAddressBuffer.
    /// @param byteWidth  a multiple of 4, at least 4
    /// @param purpose    what it is for, in the exception
    static ShaderBuffer writableBytes(
        ID3D11Device* device, std::size_t byteWidth, const std::string& purpose = {}
    );

    /// Filled by copies, read by shaders as a ByteAddressBuffer and by the input assembler as vertices.
    /// @param purpose  what it is for, in the exception
    static ShaderBuffer vertexBytes(
        ID3D11Device* device, std::size_t byteWidth, const std::string& purpose = {}
    );

    ShaderBuffer(const ShaderBuffer&) = delete;
    ShaderBuffer& operator=(const ShaderBuffer&) = delete;
    ShaderBuffer(ShaderBuffer&&) noexcept = default;
    ShaderBuffer& operator=(ShaderBuffer&&) noexcept = default;
    ~ShaderBuffer() = default;

    /// Replaces the contents of a dynamic buffer; what lies behind the given bytes becomes undefined.
    /// @throws std::length_error  for more bytes than it holds
    /// @throws ComException       when it cannot be mapped
    void update(ID3D11DeviceContext* context, std::span<const std::byte> bytes);

    /// Replaces the contents by an array; a buffer that is too small, or none yet, is replaced by a dynamic
    /// one that has room to spare.
    /// @throws ComException  when it cannot be created or mapped
    template <class Element>
    void assign(ID3D11Device* device, ID3D11DeviceContext* context, std::span<const Element> elements)
    {
        if (elements.size_bytes() > mByteWidth || !mBuffer)
        {
            constexpr std::size_t kSmallest = 64;
            *this = dynamic(device, sizeof(Element), std::bit_ceil(std::max(elements.size(), kSmallest)));
        }
        update(context, std::as_bytes(elements));
    }

    std::size_t byteWidth() const noexcept { return mByteWidth; }

    ID3D11Buffer* buffer() const noexcept { return mBuffer; }

    ID3D11ShaderResourceView* resourceView() const noexcept { return mResourceView; }

    /// Null for what shaders cannot write.
    ID3D11UnorderedAccessView* accessView() const noexcept { return mAccessView; }

private:
    ShaderBuffer(
        ID3D11Device* device,
        D3D11_BUFFER_DESC desc,
        std::size_t byteWidth,
        const char* name,
        const std::string& purpose = {}
    );

    CComPtr<ID3D11Buffer> mBuffer;
    CComPtr<ID3D11ShaderResourceView> mResourceView;
    CComPtr<ID3D11UnorderedAccessView> mAccessView;
    std::size_t mByteWidth = 0;
};
}  // namespace Render
