#pragma once

#include "render/gpu/ConstantBuffer.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/VertexFormats.h"
#include "render/gpu/VertexShader.h"
#include "render/scene/Renderable.h"

#include <memory>
#include <vector>

namespace Render
{
/// A scene of coloured triangles in world coordinates, three corners each; colours and positions are
/// interpolated over a triangle. Writes the position to both position targets, to the exact one moved by 1000
/// along x.
class TriangleRenderable : public Renderable
{
public:
    static constexpr float kExactOffset = 1000.0F;

    explicit TriangleRenderable(std::vector<VertexPosColor> corners);

    void init(
        unsigned long long rendererId,
        std::shared_ptr<Camera> camera,
        CComPtr<ID3D11Device> device,
        CComPtr<ID3D11DeviceContext> deviceContext
    ) override;
    void deinit() override;
    void render() override;

    bool isTransparent() const override { return transparent; }

    Math::NBoundingBox<float, 3> boundingBox() override;

    bool transparent = false;

private:
    std::vector<VertexPosColor> mCorners;
    std::shared_ptr<Camera> mCamera;
    CComPtr<ID3D11DeviceContext> mContext;
    CComPtr<ID3D11Buffer> mVertices;
    ConstantBuffer mViewProjection;
    VertexShader mVertexShader;
    PixelShader mPixelShader;
};

/// Two triangles that cover the rectangle at depth z, clockwise as seen from the positive z axis.
std::vector<VertexPosColor> rectangle(
    float left, float right, float bottom, float top, float z, const Math::Color& color
);

/// Both lists in this order.
std::vector<VertexPosColor> operator+(std::vector<VertexPosColor> a, const std::vector<VertexPosColor>& b);
}  // namespace Render
