#pragma once

#include "render/Render.h"
#include "render/gpu/ComPtr.h"
#include "render/gpu/Direct3D.h"

#include <cstddef>
#include <span>

namespace Render
{
/// The way of bytes into buffers that the CPU cannot write: through memory that is used in turn, so that
/// nobody waits for the device to have read it.
///
/// Threads  the thread of the immediate context; not locked.
class UploadRing
{
public:
    /// @param byteWidth  of the memory that is mapped at a time
    /// @throws ComException  when the device refuses it
    UploadRing(ID3D11Device* device, std::size_t byteWidth);

    /// Copies bytes of any number to their place in a buffer of default usage.
    /// @throws ComException  when the memory cannot be mapped; a part may have been copied
    void upload(
        ID3D11DeviceContext* context, std::span<const std::byte> bytes, ID3D11Buffer* to, std::size_t offset
    );

private:
    CComPtr<ID3D11Buffer> mMemory;
    std::size_t mByteWidth;
    std::size_t mUsed;  // bytes that the device may still have to read
};
}  // namespace Render
