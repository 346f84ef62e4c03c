#include "render/pointcloud/SplatList.h"

#include "render/pointcloud/SplatViews.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <span>
#include <utility>

namespace Render
{
namespace
{
constexpr UINT kMostGroups = 65535;  // of one dimension

std::atomic<std::uint64_t> lastRevision = 0;
}  // namespace

SplatList::SplatList(CComPtr<ID3D11Device> device)
    : mDevice(std::move(device)),
      mLevelShader(ComputeShader::fromHlslResource(mDevice, "shaders/splatlevels.hlsl")),
      mConstants(mDevice),
      mLookBuffer(ShaderBuffer::dynamic(mDevice, sizeof(std::uint32_t), 1))
{
}

void SplatList::setNodes(
    ID3D11DeviceContext* context,
    const PointStore& store,
    ShaderResourceView& octreeTexture,
    ConstantBlock<PerFrameConstants>& perFrame
)
{
    mWindows = &store.windows();
    mRevision = ++lastRevision;
    writeSplatChunks(store.drawnNodes(), mChunks, mNodes);
    if (mChunks.empty())
    {
        return;
    }
    mChunkBuffer.assign(mDevice, context, std::span<const SplatChunk>(mChunks));
    mNodeBuffer.assign(mDevice, context, std::span<const SplatNode>(mNodes));

    const ScopedBinding frame(context, perFrame, ShaderConfiguration::Compute, kPerFrameSlot);
    const ScopedBinding texture(context, octreeTexture, ShaderConfiguration::Compute, kOctreeTextureSlot);
    const ScopedBinding shader(context, mLevelShader);
    std::size_t i = 0;
    forEachWindow(
        context,
        ShaderConfiguration::Compute,
        [&](Views views)
        {
            views[2] = nullptr;  // the levels are what is written
            const ComputeSplatViews inputs(context, views, {mNodeBuffer.resourceView()});
            const ComputeOutput output(context, mWindows->windows()[i++].levels.accessView());
            dispatch(context);
        }
    );
}

void SplatList::setLook(ID3D11DeviceContext* context, const PointLook& look)
{
    if (look == mLook)
    {
        return;
    }
    if (!look.isPlain())
    {
        const PointLookData data = dataOf(look);
        const auto words =
            std::bit_cast<std::array<std::uint32_t, sizeof(data) / sizeof(std::uint32_t)>>(data);
        mLookBuffer.assign(mDevice, context, std::span<const std::uint32_t>(words));
    }
    mLook = look;
}

void SplatList::setConstants(SplatConstants constants)
{
    constants.chunk_count = mConstants.values().chunk_count;
    constants.window = mConstants.values().window;
    constants.coloring = static_cast<std::uint32_t>(mLook.coloring);
    constants.is_filtered = mLook.hidesNothing() ? 0U : 1U;
    if (constants != mConstants.values())
    {
        mConstants.edit() = constants;
    }
}

void SplatList::dispatch(ID3D11DeviceContext* context) const
{
    const UINT groups = chunkCount();
    context->Dispatch(std::min(groups, kMostGroups), (groups + kMostGroups - 1) / kMostGroups, 1);
}

void SplatList::setWindow(std::uint32_t window)
{
    if (mConstants.values().window != window || mConstants.values().chunk_count != chunkCount())
    {
        SplatConstants& constants = mConstants.edit();
        constants.window = window;
        constants.chunk_count = chunkCount();
    }
}
}  // namespace Render
