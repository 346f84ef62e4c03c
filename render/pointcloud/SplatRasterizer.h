#pragma once

#include "render/Render.h"
#include "render/gpu/ComputeShader.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/VertexShader.h"
#include "render/pointcloud/OutputState.h"
#include "render/pointcloud/PointShaderConstants.h"
#include "render/pointcloud/SplatList.h"
#include "render/pointcloud/SplatTargets.h"

#include <cstdint>
#include <memory>

namespace Render
{
/// Draws points as the same splats that triangles would give, without triangles: compute shaders find the
/// nearest depth and the winning point of every pixel, then one full-screen pass writes the winners.
///
/// The first pass takes the nearest depth of each pixel by an atomic maximum, the second, among the points
/// that have it, the one that the depth test would leave; the pixels of a splat are those whose centres lie
/// in its circle. The picture is then tested against what is in the targets already, so the cloud composes
/// with whatever else is drawn.
///
/// Source   M. Schuetz, B. Kerbl, M. Wimmer, "Rendering Point Clouds with Compute Shaders and Vertex Order
///          Optimization" (2021), for resolving points by atomic operations; two passes stand here for the
///          64-bit operations of that work, which feature level 11.0 has not.
/// Threads  the thread of the immediate context; not locked.
class SplatRasterizer
{
public:
    /// @throws ComException  when a shader or buffer cannot be created
    SplatRasterizer(const CComPtr<ID3D11Device>& device, std::shared_ptr<SplatTargets> targets);

    /// Whether the pixel buffers of a viewport keep within the limits of every device.
    static bool fits(const D3D11_VIEWPORT& viewport) noexcept;

    /// Draws into the targets that are bound.
    /// @param output      its depth rule must be known
    /// @param planeCount  clipping planes in force
    /// @throws ComException  when something cannot be created or mapped
    void draw(
        ID3D11DeviceContext* context,
        SplatList& list,
        const OutputState& output,
        std::uint32_t planeCount,
        ConstantBlock<PerFrameConstants>& perFrame
    );

private:
    std::shared_ptr<SplatTargets> mTargets;
    ComputeShader mDepthShader;
    ComputeShader mWinnerShader;
    VertexShader mPictureVertexShader;
    PixelShader mPicturePixelShader;
};
}  // namespace Render
