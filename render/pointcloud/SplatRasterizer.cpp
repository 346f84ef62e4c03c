#include "render/pointcloud/SplatRasterizer.h"

#include "render/pointcloud/SplatViews.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace Render
{
SplatRasterizer::SplatRasterizer(const CComPtr<ID3D11Device>& device, std::shared_ptr<SplatTargets> targets)
    : mTargets(std::move(targets)),
      mDepthShader(ComputeShader::fromHlslResource(device, "shaders/splatdepths.hlsl")),
      mWinnerShader(ComputeShader::fromHlslResource(device, "shaders/splatwinners.hlsl")),
      mPictureVertexShader(VertexShader::fromHlslResource(device, "shaders/splatpicture.hlsl", {})),
      mPicturePixelShader(PixelShader::fromHlslResource(device, "shaders/splatpicture.hlsl"))
{
}

bool SplatRasterizer::fits(const D3D11_VIEWPORT& viewport) noexcept
{
    const double right = std::ceil(static_cast<double>(viewport.TopLeftX) + viewport.Width);
    const double bottom = std::ceil(static_cast<double>(viewport.TopLeftY) + viewport.Height);
    return viewport.TopLeftX >= 0.0F && viewport.TopLeftY >= 0.0F && right >= 1.0 && bottom >= 1.0 &&
           right <= D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION && bottom <= D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION &&
           SplatTargets::fits(static_cast<std::size_t>(right) * static_cast<std::size_t>(bottom));
}

void SplatRasterizer::draw(
    ID3D11DeviceContext* context,
    SplatList& list,
    const OutputState& output,
    std::uint32_t planeCount,
    ConstantBlock<PerFrameConstants>& perFrame
)
{
    if (list.chunkCount() == 0)
    {
        return;
    }
    const D3D11_VIEWPORT& viewport = output.viewport;
    SplatConstants constants;
    constants.viewport_min = {viewport.TopLeftX, viewport.TopLeftY};
    constants.viewport_size = {viewport.Width, viewport.Height};
    constants.min_depth = viewport.MinDepth;
    constants.max_depth = viewport.MaxDepth;
    constants.columns = static_cast<std::uint32_t>(std::ceil(viewport.TopLeftX + viewport.Width));
    constants.rows = static_cast<std::uint32_t>(std::ceil(viewport.TopLeftY + viewport.Height));
    constants.plane_count = planeCount;
    constants.depth_test = static_cast<std::uint32_t>(output.depthRule->test);
    constants.order_flip = output.depthRule->isLastFirst ? 0U : ~0U;
    list.setConstants(constants);

    mTargets->reserve(std::size_t{constants.columns} * constants.rows);
    const ShaderBuffer& depths = mTargets->depths();
    const ShaderBuffer& winners = mTargets->winners();
    constexpr UINT kNothing[4]{};
    context->ClearUnorderedAccessViewUint(depths.accessView(), kNothing);
    context->ClearUnorderedAccessViewUint(winners.accessView(), kNothing);

    constexpr auto kAll = ShaderConfiguration::Compute | ShaderConfiguration::Pixel;
    const ScopedBinding frame(context, perFrame, kAll, SplatList::kPerFrameSlot);
    {
        const ScopedBinding shader(context, mDepthShader);
        list.forEachWindow(
            context,
            ShaderConfiguration::Compute,
            [&](const SplatList::Views& views)
            {
                const ComputeSplatViews inputs(context, views);
                const ComputeOutput result(context, depths.accessView());
                list.dispatch(context);
            }
        );
    }
    {
        const ScopedBinding shader(context, mWinnerShader);
        list.forEachWindow(
            context,
            ShaderConfiguration::Compute,
            [&](const SplatList::Views& views)
            {
                const ComputeSplatViews inputs(context, views, {depths.resourceView(), nullptr});
                const ComputeOutput result(context, winners.accessView());
                list.dispatch(context);
            }
        );
    }

    const ScopedBinding vertexShader(context, mPictureVertexShader);
    const ScopedBinding pixelShader(context, mPicturePixelShader);
    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    list.forEachWindow(
        context,
        ShaderConfiguration::Pixel,
        [&](const SplatList::Views& views)
        {
            const PixelSplatViews inputs(context, views, {winners.resourceView(), depths.resourceView()});
            constexpr UINT kCoveringTriangle = 3;
            context->Draw(kCoveringTriangle, 0);
        }
    );
}
}  // namespace Render
