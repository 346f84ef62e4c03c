#include "render/pointcloud/UploadRing.h"

#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

#include <algorithm>
#include <cstring>

namespace Render
{
UploadRing::UploadRing(ID3D11Device* device, std::size_t byteWidth) : mByteWidth(byteWidth), mUsed(byteWidth)
{
    D3D11_BUFFER_DESC desc{};
    desc.ByteWidth = static_cast<UINT>(byteWidth);
    desc.Usage = D3D11_USAGE_DYNAMIC;
    desc.BindFlags = D3D11_BIND_VERTEX_BUFFER;  // mapping without overwriting needs it to be one
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    throwIfFailed(device->CreateBuffer(&desc, nullptr, mMemory.put()));
    setDebugName(mMemory, "UploadRing");
}

void UploadRing::upload(
    ID3D11DeviceContext* context, std::span<const std::byte> bytes, ID3D11Buffer* to, std::size_t offset
)
{
    while (!bytes.empty())
    {
        const bool isFull = mUsed == mByteWidth;
        const std::size_t from = isFull ? 0 : mUsed;
        const std::size_t count = std::min(bytes.size(), mByteWidth - from);
        D3D11_MAPPED_SUBRESOURCE mapped{};
        throwIfFailed(context->Map(
            mMemory, 0, isFull ? D3D11_MAP_WRITE_DISCARD : D3D11_MAP_WRITE_NO_OVERWRITE, 0, &mapped
        ));
        std::memcpy(static_cast<std::byte*>(mapped.pData) + from, bytes.data(), count);
        context->Unmap(mMemory, 0);

        const D3D11_BOX box{static_cast<UINT>(from), 0, 0, static_cast<UINT>(from + count), 1, 1};
        context->CopySubresourceRegion(to, 0, static_cast<UINT>(offset), 0, 0, mMemory, 0, &box);
        mUsed = from + count;
        offset += count;
        bytes = bytes.subspan(count);
    }
}
}  // namespace Render
