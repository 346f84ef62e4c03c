#include "render/platform/Direct3D.h"
#include "render/scene/Viewport.h"

#include <algorithm>

namespace Render
{
void Viewport::set(ID3D11DeviceContext* context) const
{
    // Not std::clamp, which lets NaN pass.
    const auto within = [](float value, float low) { return value > low ? std::min(value, 1.0F) : low; };
    const float minDepth = within(mMinDepth, 0.0F);
    const float maxDepth = within(mMaxDepth, minDepth);
    const D3D11_VIEWPORT viewport{
        .TopLeftX = static_cast<float>(mX),
        .TopLeftY = static_cast<float>(mY),
        .Width = static_cast<float>(mWidth),
        .Height = static_cast<float>(mHeight),
        .MinDepth = minDepth,
        .MaxDepth = maxDepth,
    };
    context->RSSetViewports(1, &viewport);
}
}  // namespace Render
