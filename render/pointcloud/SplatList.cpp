#include "render/pointcloud/SplatList.h"

#include "render/pointcloud/SplatViews.h"

#include <algorithm>
#include <bit>
#include <span>
#include <utility>

namespace Render
{
namespace
{
constexpr UINT kMostGroups = 65535;  // of one dimension

/// Replaces the contents of a buffer that grows as needed.
template <class Element>
void assign(
    ShaderBuffer& buffer,
    ID3D11Device* device,
    ID3D11DeviceContext* context,
    const std::vector<Element>& values
)
{
    const std::span<const std::byte> bytes = std::as_bytes(std::span(values));
    if (bytes.size() > buffer.byteWidth())
    {
        constexpr std::size_t kSmallest = 64;
        buffer =
            ShaderBuffer::dynamic(device, sizeof(Element), std::bit_ceil(std::max(values.size(), kSmallest)));
    }
    buffer.update(context, bytes);
}
}  // namespace

SplatList::SplatList(CComPtr<ID3D11Device> device)
    : mDevice(std::move(device)),
      mLevelShader(ComputeShader::fromHlslResource(mDevice, "shaders/splatlevels.hlsl")),
      mConstants(mDevice)
{
}

void SplatList::setNodes(
    ID3D11DeviceContext* context,
    const PointStore& store,
    ShaderResourceView& octreeTexture,
    ConstantBlock<PerFrameConstants>& perFrame
)
{
    mStore = &store;
    writeSplatChunks(store.drawnNodes(), mChunks, mNodes);
    if (mChunks.empty())
    {
        return;
    }
    assign(mChunkBuffer, mDevice, context, mChunks);
    assign(mNodeBuffer, mDevice, context, mNodes);

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
            const ComputeSplatViews inputs(context, views, {mNodeBuffer.resourceView(), nullptr});
            const ComputeOutput output(context, store.windows()[i++].levels.accessView());
            dispatch(context);
        }
    );
}

void SplatList::setConstants(SplatConstants constants)
{
    constants.chunk_count = mConstants.values().chunk_count;
    constants.window = mConstants.values().window;
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
