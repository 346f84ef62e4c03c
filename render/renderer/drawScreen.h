#pragma once

#include "render/gpu/PixelShader.h"
#include "render/gpu/ScopedBinding.h"
#include "render/gpu/ShaderConfiguration.h"
#include "render/gpu/VertexShader.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Has a pixel shader make every pixel of the bound target; leaves nothing bound that it has bound.
/// @param vertexShader  makes a strip of four corners by their numbers alone
/// @param constants     a constant block that the pixel shader finds at slot 0
template <class Constants>
void drawScreen(
    ID3D11DeviceContext* context, VertexShader& vertexShader, PixelShader& pixelShader, Constants& constants
)
{
    constexpr UINT kCorners = 4;
    const ScopedBinding vertex(context, vertexShader);
    const ScopedBinding pixel(context, pixelShader);
    const ScopedBinding values(context, constants, ShaderConfiguration::Pixel, 0U);
    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
    context->DrawInstanced(kCorners, 1, 0, 0);
}
}  // namespace Render
