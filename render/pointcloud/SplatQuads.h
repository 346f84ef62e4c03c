#pragma once

#include "render/Render.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/IndexBuffer.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/VertexShader.h"
#include "render/pointcloud/PointShaderConstants.h"
#include "render/pointcloud/SplatList.h"

#include <cstdint>

namespace Render
{
/// Draws splats as quads of two triangles that the vertex shader builds from the points, all of a buffer in
/// one call. For what adds up in a pixel, for large splats, and to compare the splat rasterizer with.
///
/// Threads  the thread of the immediate context; not locked.
class SplatQuads
{
public:
    /// @throws ComException  when a shader or buffer cannot be created
    explicit SplatQuads(const CComPtr<ID3D11Device>& device);

    /// Draws into the targets that are bound.
    /// @param planeCount  clipping planes in force
    /// @throws ComException  when something cannot be mapped
    void draw(
        ID3D11DeviceContext* context,
        SplatList& list,
        std::uint32_t planeCount,
        ConstantBlock<PerFrameConstants>& perFrame
    );

private:
    VertexShader mVertexShader;
    PixelShader mPixelShader;
    IndexBuffer mIndices;
};
}  // namespace Render
