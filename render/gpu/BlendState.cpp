#include "render/gpu/BlendState.h"

#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
BlendState::BlendState(ID3D11Device* device, const D3D11_BLEND_DESC& desc)
{
    throwIfFailed(device->CreateBlendState(&desc, mState.put()), device);
    setDebugName(mState, "BlendState");
}

void BlendState::set(ID3D11DeviceContext* context, const float* blendFactor, unsigned int sampleMask) const
{
    context->OMSetBlendState(mState, blendFactor, sampleMask);
}
}  // namespace Render
