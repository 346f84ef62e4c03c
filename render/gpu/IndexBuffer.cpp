#include "render/gpu/IndexBuffer.h"

#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

#include <limits>

namespace Render
{
IndexBuffer::IndexBuffer(ID3D11Device* device, const unsigned int* indices, std::size_t count)
    : mNumIndices(count)
{
    static_assert(sizeof(unsigned int) == 4, "indices are bound as DXGI_FORMAT_R32_UINT");
    if (count > std::numeric_limits<UINT>::max() / sizeof(unsigned int))
    {
        throwIfFailed(E_INVALIDARG);
    }

    const D3D11_BUFFER_DESC desc{
        .ByteWidth = static_cast<UINT>(count * sizeof(unsigned int)),
        .Usage = D3D11_USAGE_IMMUTABLE,
        .BindFlags = D3D11_BIND_INDEX_BUFFER,
        .CPUAccessFlags = 0,
        .MiscFlags = 0,
        .StructureByteStride = 0,
    };
    const D3D11_SUBRESOURCE_DATA initialData{indices, 0, 0};
    throwIfFailed(device->CreateBuffer(&desc, &initialData, mBuffer.put()), device);
    setDebugName(mBuffer, "IndexBuffer");
}

IndexBuffer::IndexBuffer(ID3D11Device* device, const std::vector<unsigned int>& indices)
    : IndexBuffer(device, indices.data(), indices.size())
{
}

void IndexBuffer::begin(ID3D11DeviceContext* context, unsigned int offset)
{
    mOffset = offset;
    context->IASetIndexBuffer(mBuffer, DXGI_FORMAT_R32_UINT, offset);
}

void IndexBuffer::end(ID3D11DeviceContext* context)
{
    context->IASetIndexBuffer(nullptr, DXGI_FORMAT_R32_UINT, mOffset);
    mOffset = 0;
}
}  // namespace Render
