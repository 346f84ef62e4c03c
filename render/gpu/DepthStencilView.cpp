#include "render/gpu/DepthStencilView.h"

#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
DepthStencilView::DepthStencilView(
    ID3D11Device* device,
    ID3D11Resource* resource,
    unsigned int clearFlags,
    float depthClearValue,
    unsigned char stencilClearValue
)
    : mClearFlags(clearFlags), mDepthClearValue(depthClearValue), mStencilClearValue(stencilClearValue)
{
    if (resource == nullptr)
    {
        throwIfFailed(E_INVALIDARG);
    }
    D3D11_DEPTH_STENCIL_VIEW_DESC desc{};
    desc.Format = DXGI_FORMAT_D32_FLOAT;
    desc.ViewDimension = D3D11_DSV_DIMENSION_TEXTURE2D;
    desc.Flags = 0;
    desc.Texture2D.MipSlice = 0;
    throwIfFailed(device->CreateDepthStencilView(resource, &desc, mView.put()), device);
    setDebugName(mView, "DepthStencilView");
}

void DepthStencilView::setClearValues(unsigned int clearFlags, float depth, unsigned char stencil) noexcept
{
    mClearFlags = clearFlags;
    mDepthClearValue = depth;
    mStencilClearValue = stencil;
}

void DepthStencilView::clear(ID3D11DeviceContext* context) const
{
    context->ClearDepthStencilView(mView, mClearFlags, mDepthClearValue, mStencilClearValue);
}
}  // namespace Render
