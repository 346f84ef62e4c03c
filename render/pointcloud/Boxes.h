#pragma once

#include "math/Color.h"
#include "math/NBoundingBox.h"
#include "render/Export.h"
#include "render/gpu/ConstantBlock.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/VertexShader.h"
#include "render/pointcloud/BoxWithColor.h"
#include "render/pointcloud/DynamicVertexBuffer.h"
#include "render/pointcloud/PointShaderConstants.h"

#include <cstddef>
#include <vector>

namespace Render
{
/// Draws many axis-aligned boxes as coloured wire frames with one draw call.
///
/// It is no Renderable: its owner calls draw() inside a render pass of its own.
/// Frame    boxes in the coordinates that the model-view-projection matrix starts from.
/// Threads  the thread of the immediate context; not locked.
class RENDER_API Boxes
{
public:
    /// Room for `count` boxes; draws nothing until update().
    /// @throws ComException  when a shader or buffer cannot be created
    Boxes(const CComPtr<ID3D11Device>& device, std::size_t count);

    /// Room for these boxes, and they are its first contents.
    Boxes(const CComPtr<ID3D11Device>& device, const std::vector<BoxWithColor>& boxes);

    /// One box.
    Boxes(
        const CComPtr<ID3D11Device>& device, const Math::NBoundingBox<float, 3>& box, const Math::Color& color
    );

    Boxes(const Boxes&) = delete;
    Boxes& operator=(const Boxes&) = delete;
    Boxes(Boxes&&) noexcept = default;
    Boxes& operator=(Boxes&&) noexcept = default;
    ~Boxes() = default;

    /// Replaces the boxes.
    /// @param boxes  no more than there was room for at construction
    /// @throws std::invalid_argument  for more; the old boxes stay
    /// @throws ComException           when the buffer cannot be mapped; the old boxes stay
    void update(ID3D11DeviceContext* context, const std::vector<BoxWithColor>& boxes);

    /// From the boxes' coordinates to those of the picture.
    void setModelViewProjection(const Eigen::Matrix4f& matrix);
    void setModelViewProjection(const ShaderMatrix& matrix);

    /// Draws into the bound targets; leaves shaders, layout and constants unbound.
    /// @throws ComException  when the constants cannot be uploaded; a later draw tries again
    void draw(ID3D11DeviceContext* context);

private:
    /// cbConstant of shaders/box.hlsl.
    struct Constants
    {
        ShaderMatrix world_view_proj = kIdentityShaderMatrix;
    };

    static_assert(sizeof(Constants) == 64);

    Boxes(const CComPtr<ID3D11Device>& device, DynamicVertexBuffer instances, std::size_t boxCount);

    VertexShader mVertexShader;
    PixelShader mPixelShader;
    ConstantBlock<Constants> mConstants;
    DynamicVertexBuffer mInstances;
    std::size_t mBoxCount = 0;
};
}  // namespace Render
