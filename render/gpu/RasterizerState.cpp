#include "render/gpu/RasterizerState.h"

#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
RasterizerState::RasterizerState(ID3D11Device* device, const D3D11_RASTERIZER_DESC& desc)
{
    throwIfFailed(device->CreateRasterizerState(&desc, mState.put()), device);
    setDebugName(mState, "RasterizerState");
}

void RasterizerState::set(ID3D11DeviceContext* context) const
{
    context->RSSetState(mState);
}
}  // namespace Render
