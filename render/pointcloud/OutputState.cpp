#include "render/pointcloud/OutputState.h"

#include "render/platform/ComPtr.h"

#include <algorithm>
#include <iterator>

namespace Render
{
namespace
{
D3D11_DEPTH_STENCIL_DESC depthDescription(ID3D11DeviceContext* context)
{
    CComPtr<ID3D11DepthStencilState> state;
    UINT reference = 0;
    context->OMGetDepthStencilState(state.put(), &reference);
    D3D11_DEPTH_STENCIL_DESC desc{};
    if (state)
    {
        state->GetDesc(&desc);
        return desc;
    }
    desc.DepthEnable = TRUE;
    desc.DepthWriteMask = D3D11_DEPTH_WRITE_MASK_ALL;
    desc.DepthFunc = D3D11_COMPARISON_LESS;
    return desc;
}

bool isBlended(ID3D11DeviceContext* context)
{
    CComPtr<ID3D11BlendState> state;
    float factors[4]{};
    UINT samples = 0;
    context->OMGetBlendState(state.put(), factors, &samples);
    if (!state)
    {
        return false;
    }
    D3D11_BLEND_DESC desc{};
    state->GetDesc(&desc);
    const std::size_t count = desc.IndependentBlendEnable != FALSE ? std::size(desc.RenderTarget) : 1;
    return desc.AlphaToCoverageEnable != FALSE ||
           std::any_of(
               desc.RenderTarget,
               desc.RenderTarget + count,
               [](const D3D11_RENDER_TARGET_BLEND_DESC& target) { return target.BlendEnable != FALSE; }
           );
}

/// Whether triangles would cover just the pixels of the viewport, at their own depth.
bool isPlainRasterizer(ID3D11DeviceContext* context)
{
    CComPtr<ID3D11RasterizerState> state;
    context->RSGetState(state.put());
    if (!state)
    {
        return true;
    }
    D3D11_RASTERIZER_DESC desc{};
    state->GetDesc(&desc);
    const D3D11_CULL_MODE culledBacks =
        desc.FrontCounterClockwise != FALSE ? D3D11_CULL_FRONT : D3D11_CULL_BACK;
    return desc.FillMode == D3D11_FILL_SOLID &&
           (desc.CullMode == D3D11_CULL_NONE || desc.CullMode == culledBacks) && desc.DepthBias == 0 &&
           desc.SlopeScaledDepthBias == 0.0F && desc.DepthClipEnable != FALSE && desc.ScissorEnable == FALSE;
}

bool hasDepthBuffer(ID3D11DeviceContext* context)
{
    CComPtr<ID3D11DepthStencilView> view;
    context->OMGetRenderTargets(0, nullptr, view.put());
    return static_cast<bool>(view);
}
}  // namespace

std::optional<DepthRule> depthRuleOf(const D3D11_DEPTH_STENCIL_DESC& desc, bool hasDepthBuffer)
{
    if (desc.StencilEnable != FALSE)
    {
        return std::nullopt;
    }
    if (desc.DepthEnable == FALSE || !hasDepthBuffer)
    {
        return DepthRule{};
    }
    if (desc.DepthWriteMask != D3D11_DEPTH_WRITE_MASK_ALL)
    {
        return std::nullopt;
    }
    switch (desc.DepthFunc)
    {
        case D3D11_COMPARISON_LESS:
            return DepthRule{DepthRule::Test::LessIsNearer, false};
        case D3D11_COMPARISON_LESS_EQUAL:
            return DepthRule{DepthRule::Test::LessIsNearer, true};
        case D3D11_COMPARISON_GREATER:
            return DepthRule{DepthRule::Test::GreaterIsNearer, false};
        case D3D11_COMPARISON_GREATER_EQUAL:
            return DepthRule{DepthRule::Test::GreaterIsNearer, true};
        default:
            return std::nullopt;
    }
}

OutputState outputStateOf(ID3D11DeviceContext* context)
{
    OutputState state;
    UINT viewportCount = 1;
    context->RSGetViewports(&viewportCount, &state.viewport);
    if (viewportCount == 1 && !isBlended(context) && isPlainRasterizer(context))
    {
        state.depthRule = depthRuleOf(depthDescription(context), hasDepthBuffer(context));
    }
    return state;
}
}  // namespace Render
