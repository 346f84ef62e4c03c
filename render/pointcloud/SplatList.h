#pragma once

#include "render/Render.h"
#include "render/gpu/ComputeShader.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/ScopedBinding.h"
#include "render/gpu/ShaderBuffer.h"
#include "render/gpu/ShaderConfiguration.h"
#include "render/gpu/ShaderResourceView.h"
#include "render/pointcloud/PointLook.h"
#include "render/pointcloud/PointShaderConstants.h"
#include "render/pointcloud/PointStore.h"
#include "render/pointcloud/SplatChunk.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace Render
{
/// The constants of the splat shaders beside PerFrameConstants: cbSplats of shaders/splats.hlsl, with its
/// field names.
struct SplatConstants
{
    std::array<float, 2> viewport_min{};   // pixels
    std::array<float, 2> viewport_size{};  // pixels
    float min_depth = 0.0F;
    float max_depth = 1.0F;
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::uint32_t chunk_count = 0;
    std::uint32_t window = 0;
    std::uint32_t plane_count = 0;
    std::uint32_t depth_test = 0;
    std::uint32_t order_flip = 0;
    std::uint32_t first_order = 0;
    std::uint32_t coloring = 0;
    std::uint32_t is_filtered = 0;

    friend bool operator==(const SplatConstants&, const SplatConstants&) = default;
};

static_assert(std::is_trivially_copyable_v<SplatConstants> && sizeof(SplatConstants) == 64);

/// What is drawn of one cloud, as the splat shaders read it: chunks of points in the order of drawing, with
/// the level of the deepest drawn node around each point, found once for each set of nodes.
///
/// Threads  the thread of the immediate context; not locked.
class SplatList
{
public:
    // The registers of shaders/splats.hlsl.
    static constexpr unsigned int kPerFrameSlot = 0;
    static constexpr unsigned int kConstantSlot = 2;
    static constexpr UINT kOctreeTextureSlot = 0;
    static constexpr UINT kChunkSlot = 1;  // and points, levels and look behind it
    static constexpr UINT kExtraSlot = 5;

    /// @throws ComException  when a shader or buffer cannot be created
    explicit SplatList(CComPtr<ID3D11Device> device);

    /// Takes what is drawn from now on.
    /// @param store          its windows must live, and the places in them stay, until the next call
    /// @param octreeTexture  of these nodes
    /// @param perFrame       its root_node_size counts
    /// @throws ComException  when something cannot be created or mapped
    void setNodes(
        ID3D11DeviceContext* context,
        const PointStore& store,
        ShaderResourceView& octreeTexture,
        ConstantBlock<PerFrameConstants>& perFrame
    );

    std::uint32_t chunkCount() const noexcept { return static_cast<std::uint32_t>(mChunks.size()); }

    const std::vector<SplatChunk>& chunks() const noexcept { return mChunks; }

    /// Another number for every setNodes() of any list.
    std::uint64_t revision() const noexcept { return mRevision; }

    /// What points are coloured and hidden by, from now on. A look that changes nothing costs nothing.
    /// @throws ComException  when something cannot be created or mapped; the old look stays then
    void setLook(ID3D11DeviceContext* context, const PointLook& look);

    const PointLook& look() const noexcept { return mLook; }

    /// Replaces the constants but for chunk_count, window and the look's.
    void setConstants(SplatConstants constants);

    /// Calls draw(views) for each buffer of points, with the constants bound at the stages.
    /// @param draw  takes the views of chunks, points, levels and look, which belong at kChunkSlot
    template <class Draw>
    void forEachWindow(ID3D11DeviceContext* context, ShaderConfiguration stages, const Draw& draw)
    {
        for (std::size_t i = 0; i < mWindows->windows().size(); ++i)
        {
            setWindow(static_cast<std::uint32_t>(i));
            const ScopedBinding constants(context, mConstants, stages, kConstantSlot);
            const PointWindows::Window& window = mWindows->windows()[i];
            draw(Views{
                mChunkBuffer.resourceView(),
                window.points.resourceView(),
                window.levels.resourceView(),
                mLookBuffer.resourceView()});
        }
    }

    using Views = std::array<ID3D11ShaderResourceView*, 4>;

    /// One group of threads a chunk; the compute shader and what it needs are bound.
    void dispatch(ID3D11DeviceContext* context) const;

private:
    void setWindow(std::uint32_t window);

    CComPtr<ID3D11Device> mDevice;
    ComputeShader mLevelShader;
    ConstantBlock<SplatConstants> mConstants;
    const PointWindows* mWindows = nullptr;
    std::uint64_t mRevision = 0;
    std::vector<SplatChunk> mChunks;
    std::vector<SplatNode> mNodes;
    ShaderBuffer mChunkBuffer;
    ShaderBuffer mNodeBuffer;
    PointLook mLook;
    ShaderBuffer mLookBuffer;  // shaders want one even where they do not read it
};
}  // namespace Render
