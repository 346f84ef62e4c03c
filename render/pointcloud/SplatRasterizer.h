#pragma once

#include "render/Render.h"
#include "render/gpu/ComputeShader.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/ShaderBuffer.h"
#include "render/gpu/ShaderResourceView.h"
#include "render/gpu/VertexShader.h"
#include "render/pointcloud/OutputState.h"
#include "render/pointcloud/PointShaderConstants.h"
#include "render/pointcloud/PointStore.h"
#include "render/pointcloud/SplatChunk.h"
#include "render/pointcloud/SplatTargets.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
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
    std::array<std::uint32_t, 3> padding{};

    friend bool operator==(const SplatConstants&, const SplatConstants&) = default;
};

static_assert(std::is_trivially_copyable_v<SplatConstants> && sizeof(SplatConstants) == 64);

/// Draws points as the same splats that triangles would give, without triangles: compute shaders find the
/// nearest depth and the winning point of every pixel, then one full-screen pass writes the winners.
///
/// The first pass takes the nearest depth of each pixel by an atomic maximum, the second, among the points
/// that have it, the one that the depth test would leave; the pixels of a splat are those whose centres lie in
/// its circle. The picture is then tested against what is in the targets already, so the cloud composes with
/// whatever else is drawn.
///
/// Source   M. Schuetz, B. Kerbl, M. Wimmer, "Rendering Point Clouds with Compute Shaders and Vertex Order
///          Optimization" (2021), for resolving points by atomic operations; two passes stand here for the
///          64-bit operations of that work, which feature level 11.0 has not.
/// Threads  the thread of the immediate context; not locked.
class SplatRasterizer
{
public:
    /// @throws ComException  when a shader or buffer cannot be created
    SplatRasterizer(CComPtr<ID3D11Device> device, std::shared_ptr<SplatTargets> targets);

    /// Takes what is drawn from now on, and finds the level of each point.
    /// @param octreeTexture  of these nodes
    /// @param perFrame       its root_node_size counts; bound during the call
    /// @throws ComException  when something cannot be created or mapped
    void setNodes(
        ID3D11DeviceContext* context,
        const PointStore& store,
        ShaderResourceView& octreeTexture,
        ConstantBlock<PerFrameConstants>& perFrame
    );

    /// Whether the pixel buffers of a viewport keep within the limits of every device.
    static bool fits(const D3D11_VIEWPORT& viewport) noexcept;

    /// Draws into the targets that are bound.
    /// @param output      its depth rule must be known
    /// @param planeCount  clipping planes in force
    /// @throws ComException  when something cannot be created or mapped
    void draw(
        ID3D11DeviceContext* context,
        const PointStore& store,
        const OutputState& output,
        std::uint32_t planeCount,
        ConstantBlock<PerFrameConstants>& perFrame
    );

private:
    void dispatch(ID3D11DeviceContext* context) const;
    void setWindow(std::uint32_t window);

    CComPtr<ID3D11Device> mDevice;
    std::shared_ptr<SplatTargets> mTargets;
    ComputeShader mLevelShader;
    ComputeShader mDepthShader;
    ComputeShader mWinnerShader;
    VertexShader mPictureVertexShader;
    PixelShader mPicturePixelShader;
    ConstantBlock<SplatConstants> mConstants;
    std::vector<SplatChunk> mChunks;
    std::vector<SplatNode> mNodes;
    ShaderBuffer mChunkBuffer;
    ShaderBuffer mNodeBuffer;
};
}  // namespace Render
