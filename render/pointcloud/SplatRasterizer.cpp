#include "render/pointcloud/SplatRasterizer.h"

#include "core/SharedResources.h"
#include "render/pointcloud/GroupOnDevice.h"
#include "render/pointcloud/SplatViews.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace Render
{
namespace
{
constexpr UINT kCoveringTriangle = 3;  // vertices

SplatConstants constantsOf(const OutputState& output)
{
    const D3D11_VIEWPORT& viewport = output.viewport;
    SplatConstants constants;
    constants.viewport_min = {viewport.TopLeftX, viewport.TopLeftY};
    constants.viewport_size = {viewport.Width, viewport.Height};
    constants.min_depth = viewport.MinDepth;
    constants.max_depth = viewport.MaxDepth;
    constants.columns = static_cast<std::uint32_t>(std::ceil(viewport.TopLeftX + viewport.Width));
    constants.rows = static_cast<std::uint32_t>(std::ceil(viewport.TopLeftY + viewport.Height));
    constants.depth_test = static_cast<std::uint32_t>(output.depthRule->test);
    constants.order_flip = output.depthRule->isLastFirst ? 0U : ~0U;
    return constants;
}

SplatCloud cloudOf(const PerFrameConstants& constants)
{
    return {
        .model = constants.model,
        .model_view_proj = constants.model_view_proj,
        .inv_view_proj = constants.inv_view_proj,
        .uniformColor = constants.uniformColor,
        .point_render_mode = constants.point_render_mode,
    };
}
}  // namespace

SplatRasterizer::SplatRasterizer(CComPtr<ID3D11Device> device)
    : mDevice(std::move(device)),
      mTargets(mDevice),
      mDepthShader(ComputeShader::fromHlslResource(mDevice, "shaders/splatdepths.hlsl")),
      mWinnerShader(ComputeShader::fromHlslResource(mDevice, "shaders/splatwinners.hlsl")),
      mPictureVertexShader(VertexShader::fromHlslResource(mDevice, "shaders/splatpicture.hlsl", {})),
      mPicturePixelShader(PixelShader::fromHlslResource(mDevice, "shaders/splatpicture.hlsl")),
      mPicturesPixelShader(PixelShader::fromHlslResource(mDevice, "shaders/splatpictures.hlsl"))
{
}

std::shared_ptr<SplatRasterizer> SplatRasterizer::shared(
    std::uint64_t groupKey, const CComPtr<ID3D11Device>& device
)
{
    static Core::SharedResources<GroupOnDevice, SplatRasterizer> registry;
    return registry.createOrGet(
        GroupOnDevice{groupKey, device.get()}, [&device] { return std::make_shared<SplatRasterizer>(device); }
    );
}

bool SplatRasterizer::fits(const D3D11_VIEWPORT& viewport) noexcept
{
    const double right = std::ceil(static_cast<double>(viewport.TopLeftX) + viewport.Width);
    const double bottom = std::ceil(static_cast<double>(viewport.TopLeftY) + viewport.Height);
    return viewport.TopLeftX >= 0.0F && viewport.TopLeftY >= 0.0F && right >= 1.0 && bottom >= 1.0 &&
           right <= D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION && bottom <= D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION &&
           SplatTargets::fits(static_cast<std::size_t>(right) * static_cast<std::size_t>(bottom));
}

void SplatRasterizer::add(
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
    SplatConstants constants = constantsOf(output);
    if (!mPending.empty() && constants != mOutput)
    {
        flush(context);
    }
    try
    {
        if (mPending.empty())
        {
            begin(context, constants);
        }
        constants.plane_count = planeCount;
        for (const Pending& before : mPending)
        {
            constants.first_order += before.list->chunkCount() * SplatChunk::kMostPoints;
        }
        list.setConstants(constants);
        mPending.push_back({&list, &perFrame});
        takeDepths(context, mPending.back());
    }
    catch (...)
    {
        mPending.clear();
        throw;
    }
}

void SplatRasterizer::flush(ID3D11DeviceContext* context)
{
    if (mPending.empty())
    {
        return;
    }
    try
    {
        for (const Pending& cloud : mPending)
        {
            takeWinners(context, cloud);
        }
        if (mPending.size() == 1)
        {
            drawPicture(context);
        }
        else
        {
            drawPictures(context);
        }
    }
    catch (...)
    {
        mPending.clear();
        throw;
    }
    mPending.clear();
}

void SplatRasterizer::begin(ID3D11DeviceContext* context, const SplatConstants& constants)
{
    mOutput = constants;
    mTargets.reserve(std::size_t{constants.columns} * constants.rows);
    constexpr UINT kNothing[4]{};
    context->ClearUnorderedAccessViewUint(mTargets.depths().accessView(), kNothing);
    context->ClearUnorderedAccessViewUint(mTargets.winners().accessView(), kNothing);
}

void SplatRasterizer::takeDepths(ID3D11DeviceContext* context, const Pending& cloud)
{
    const ScopedBinding frame(
        context, *cloud.perFrame, ShaderConfiguration::Compute, SplatList::kPerFrameSlot
    );
    const ScopedBinding shader(context, mDepthShader);
    cloud.list->forEachWindow(
        context,
        ShaderConfiguration::Compute,
        [&](const SplatList::Views& views)
        {
            const ComputeSplatViews inputs(context, views);
            const ComputeOutput result(context, mTargets.depths().accessView());
            cloud.list->dispatch(context);
        }
    );
}

void SplatRasterizer::takeWinners(ID3D11DeviceContext* context, const Pending& cloud)
{
    const ScopedBinding frame(
        context, *cloud.perFrame, ShaderConfiguration::Compute, SplatList::kPerFrameSlot
    );
    const ScopedBinding shader(context, mWinnerShader);
    cloud.list->forEachWindow(
        context,
        ShaderConfiguration::Compute,
        [&](const SplatList::Views& views)
        {
            const ComputeSplatViews inputs(context, views, {mTargets.depths().resourceView()});
            const ComputeOutput result(context, mTargets.winners().accessView());
            cloud.list->dispatch(context);
        }
    );
}

void SplatRasterizer::drawPicture(ID3D11DeviceContext* context)
{
    const Pending& cloud = mPending.front();
    const ScopedBinding frame(context, *cloud.perFrame, ShaderConfiguration::Pixel, SplatList::kPerFrameSlot);
    const ScopedBinding vertexShader(context, mPictureVertexShader);
    const ScopedBinding pixelShader(context, mPicturePixelShader);
    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    cloud.list->forEachWindow(
        context,
        ShaderConfiguration::Pixel,
        [&](const SplatList::Views& views)
        {
            const PixelSplatViews inputs(
                context, views, {mTargets.winners().resourceView(), mTargets.depths().resourceView()}
            );
            context->Draw(kCoveringTriangle, 0);
        }
    );
}

void SplatRasterizer::drawPictures(ID3D11DeviceContext* context)
{
    mergeChunks(context);
    mClouds.clear();
    for (const Pending& cloud : mPending)
    {
        mClouds.push_back(cloudOf(cloud.perFrame->values()));
    }
    const bool hasTables = mergeLooks(context);
    mCloudBuffer.assign(mDevice, context, std::span<const SplatCloud>(mClouds));

    const ScopedBinding vertexShader(context, mPictureVertexShader);
    const ScopedBinding pixelShader(context, mPicturesPixelShader);
    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    mPending.front().list->forEachWindow(
        context,
        ShaderConfiguration::Pixel,
        [&](SplatList::Views views)
        {
            views[0] = mChunkBuffer.resourceView();
            views[3] = hasTables ? mColorTableBuffer.resourceView() : views[3];
            const PixelSplatViews inputs(
                context,
                views,
                {mTargets.winners().resourceView(),
                 mTargets.depths().resourceView(),
                 mCloudBuffer.resourceView()}
            );
            context->Draw(kCoveringTriangle, 0);
        }
    );
}

bool SplatRasterizer::mergeLooks(ID3D11DeviceContext* context)
{
    mColorTables.clear();
    for (std::size_t i = 0; i < mPending.size(); ++i)
    {
        const PointLook& look = mPending[i].list->look();
        if (look.coloring != PointColoring::Stored)
        {
            mClouds[i].coloring = static_cast<std::uint32_t>(look.coloring);
            mClouds[i].color_table = static_cast<std::uint32_t>(mColorTables.size());
            const PointLookData data = dataOf(look);
            mColorTables.insert(mColorTables.end(), data.colors.begin(), data.colors.end());
        }
    }
    if (mColorTables.empty())
    {
        return false;
    }
    mColorTableBuffer.assign(mDevice, context, std::span<const std::uint32_t>(mColorTables));
    return true;
}

void SplatRasterizer::mergeChunks(ID3D11DeviceContext* context)
{
    std::vector<std::uint64_t> revisions;
    for (const Pending& cloud : mPending)
    {
        revisions.push_back(cloud.list->revision());
    }
    if (revisions == mMerged)
    {
        return;
    }
    mMerged.clear();  // a failure leaves nothing that counts
    mChunks.clear();
    for (std::size_t i = 0; i < mPending.size(); ++i)
    {
        for (SplatChunk chunk : mPending[i].list->chunks())
        {
            chunk.node = static_cast<std::uint32_t>(i);
            mChunks.push_back(chunk);
        }
    }
    mChunkBuffer.assign(mDevice, context, std::span<const SplatChunk>(mChunks));
    mMerged = std::move(revisions);
}
}  // namespace Render
