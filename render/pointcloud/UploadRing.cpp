#include "render/pointcloud/UploadRing.h"

#include "render/gpu/MappedResource.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

#include <algorithm>
#include <thread>

namespace Render
{
UploadRing::UploadRing(ID3D11Device* device, std::size_t segmentBytes) : mSegmentBytes(segmentBytes)
{
    D3D11_BUFFER_DESC desc{};
    desc.ByteWidth = static_cast<UINT>(mSegmentBytes * mSegments.size());
    desc.Usage = D3D11_USAGE_DYNAMIC;
    desc.BindFlags = D3D11_BIND_VERTEX_BUFFER;  // mapping without overwriting needs it to be one
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    throwIfFailed(device->CreateBuffer(&desc, nullptr, mMemory.put()), device);
    setDebugName(mMemory, "UploadRing");
    for (Segment& segment : mSegments)
    {
        constexpr D3D11_QUERY_DESC kEvent{D3D11_QUERY_EVENT, 0};
        throwIfFailed(device->CreateQuery(&kEvent, segment.hasBeenRead.put()), device);
    }
}

void UploadRing::upload(
    ID3D11DeviceContext* context, std::span<const std::byte> bytes, ID3D11Buffer* to, std::size_t offset
)
{
    while (!bytes.empty())
    {
        if (mUsed == mSegmentBytes)
        {
            nextSegment(context);
        }
        const std::size_t from = mSegment * mSegmentBytes + mUsed;
        const std::size_t count = std::min(bytes.size(), mSegmentBytes - mUsed);
        {
            const MappedResource mapped(context, mMemory, D3D11_MAP_WRITE_NO_OVERWRITE);
            std::ranges::copy(bytes.first(count), mapped.data() + from);
        }

        const D3D11_BOX box{static_cast<UINT>(from), 0, 0, static_cast<UINT>(from + count), 1, 1};
        context->CopySubresourceRegion(to, 0, static_cast<UINT>(offset), 0, 0, mMemory, 0, &box);
        mUsed += count;
        offset += count;
        bytes = bytes.subspan(count);
    }
}

void UploadRing::nextSegment(ID3D11DeviceContext* context)
{
    Segment& left = mSegments[mSegment];
    context->End(left.hasBeenRead);
    left.isPending = true;
    context->Flush();  // so that it is read while the other segment fills

    const std::size_t next = (mSegment + 1) % mSegments.size();
    if (mSegments[next].isPending)
    {
        BOOL isRead = FALSE;
        HRESULT result = S_FALSE;
        while ((result = context->GetData(mSegments[next].hasBeenRead, &isRead, sizeof isRead, 0)) == S_FALSE)
        {
            std::this_thread::yield();
        }
        throwIfFailed(result, context);
        mSegments[next].isPending = false;
    }
    mSegment = next;
    mUsed = 0;
}
}  // namespace Render
