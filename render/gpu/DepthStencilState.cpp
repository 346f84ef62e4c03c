#include "render/gpu/DepthStencilState.h"

#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
namespace
{
D3D11_COMPARISON_FUNC depthFunction(bool reversed, bool depthEnable)
{
    if (!depthEnable)
    {
        return D3D11_COMPARISON_ALWAYS;
    }
    return reversed ? D3D11_COMPARISON_GREATER_EQUAL : D3D11_COMPARISON_LESS;
}

D3D11_DEPTH_STENCIL_DESC description(bool reversed, bool depthEnable, bool depthWrite)
{
    return {
        .DepthEnable = depthEnable ? TRUE : FALSE,
        .DepthWriteMask = depthWrite ? D3D11_DEPTH_WRITE_MASK_ALL : D3D11_DEPTH_WRITE_MASK_ZERO,
        .DepthFunc = depthFunction(reversed, depthEnable),
        .StencilEnable = FALSE,
        .StencilReadMask = 0xFF,
        .StencilWriteMask = 0xFF,
        .FrontFace =
            {
                .StencilFailOp = D3D11_STENCIL_OP_KEEP,
                .StencilDepthFailOp = D3D11_STENCIL_OP_INCR,
                .StencilPassOp = D3D11_STENCIL_OP_KEEP,
                .StencilFunc = D3D11_COMPARISON_ALWAYS,
            },
        .BackFace =
            {
                .StencilFailOp = D3D11_STENCIL_OP_KEEP,
                .StencilDepthFailOp = D3D11_STENCIL_OP_DECR,
                .StencilPassOp = D3D11_STENCIL_OP_KEEP,
                .StencilFunc = D3D11_COMPARISON_ALWAYS,
            },
    };
}
}  // namespace

DepthStencilState::DepthStencilState(ID3D11Device* device, const D3D11_DEPTH_STENCIL_DESC& desc)
{
    throwIfFailed(device->CreateDepthStencilState(&desc, mState.put()), device);
    setDebugName(mState, "DepthStencilState");
}

DepthStencilState::DepthStencilState(ID3D11Device* device, bool reversed, bool depthEnable, bool depthWrite)
    : DepthStencilState(device, description(reversed, depthEnable, depthWrite))
{
}

void DepthStencilState::set(ID3D11DeviceContext* context, unsigned int stencilRef) const
{
    context->OMSetDepthStencilState(mState, stencilRef);
}
}  // namespace Render
