#include "render/gpu/Direct3D.h"
#include "render/scene/Viewport.h"

namespace Render
{
void Viewport::set(ID3D11DeviceContext* context) const
{
    const D3D11_VIEWPORT viewport{
        .TopLeftX = static_cast<float>(mX),
        .TopLeftY = static_cast<float>(mY),
        .Width = static_cast<float>(mWidth),
        .Height = static_cast<float>(mHeight),
        .MinDepth = mMinDepth,
        .MaxDepth = mMaxDepth,
    };
    context->RSSetViewports(1, &viewport);
}
}  // namespace Render
