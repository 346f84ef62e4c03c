#pragma once

#include "render/Render.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <array>
#include <cstddef>
#include <span>

namespace Render
{
/// The way of bytes into buffers that the CPU cannot write: through a fixed amount of memory that is used in
/// turn. Whoever uploads more than it holds waits for the device to have read the oldest part.
///
/// Threads  the thread of the immediate context; not locked.
class UploadRing
{
public:
    /// @param segmentBytes  of each of the parts that are used in turn, at least 1
    /// @throws ComException  when the device refuses it
    UploadRing(ID3D11Device* device, std::size_t segmentBytes);

    /// Copies bytes of any number to their place in a buffer of default usage.
    /// @throws ComException  when the memory cannot be mapped or the device is lost; a part may have been
    ///                       copied
    void upload(
        ID3D11DeviceContext* context, std::span<const std::byte> bytes, ID3D11Buffer* to, std::size_t offset
    );

private:
    /// A part of the memory, and when the device has read it.
    struct Segment
    {
        CComPtr<ID3D11Query> hasBeenRead;
        bool isPending = false;
    };

    void nextSegment(ID3D11DeviceContext* context);

    CComPtr<ID3D11Buffer> mMemory;
    std::size_t mSegmentBytes;
    std::array<Segment, 2> mSegments;
    std::size_t mSegment = 0;
    std::size_t mUsed = 0;  // bytes of the segment that the device may still have to read
};
}  // namespace Render
