#include "render/gpu/Texture1d.h"

#include "render/gpu/MappedResource.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
Texture1d::Texture1d(ID3D11Device* device, const D3D11_TEXTURE1D_DESC& desc)
{
    if (desc.Width > D3D11_REQ_TEXTURE1D_U_DIMENSION)
    {
        throwIfFailed(E_INVALIDARG);  // also where the driver takes more, as for Texture2d
    }
    throwIfFailed(device->CreateTexture1D(&desc, nullptr, mTexture.put()), device);
    setDebugName(mTexture, "Texture1d");
}

void Texture1d::copy(ID3D11DeviceContext* context, const Texture1d& source)
{
    context->CopyResource(mTexture, source.mTexture);
}

D3D11_MAPPED_SUBRESOURCE Texture1d::map(ID3D11DeviceContext* context, D3D11_MAP type)
{
    return MappedResource::map(context, mTexture, type);
}

void Texture1d::unMap(ID3D11DeviceContext* context)
{
    context->Unmap(mTexture, 0);
}
}  // namespace Render
