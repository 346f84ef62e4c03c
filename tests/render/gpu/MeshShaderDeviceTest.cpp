#include "math/Color.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/VertexFormats.h"
#include "render/gpu/VertexShader.h"
#include "render/gpu/inputLayouts.h"
#include "tests/render/gpu/ShaderTestTargets.h"

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

using Eigen::Matrix4f;
using Eigen::Vector3f;
using Eigen::Vector4f;
using Render::VertexPosNormalTexCoordColor;
using testing::ElementsAre;
using testing::FloatNear;

namespace
{
/// cbPerFrameConstants as the shader lays it out.
struct Constants
{
    std::array<float, 16> modelMatrix{};
    std::array<float, 16> viewProjectionMatrix{};
    std::array<std::array<float, 4>, 8> clipping_planes{};
    float unitScale = 1.0f;
    std::array<float, 3> cameraPosition{};
    std::array<float, 3> lightPos{};
    float padding = 0.0f;
};

static_assert(offsetof(Constants, clipping_planes) == 128);
static_assert(offsetof(Constants, unitScale) == 256);
static_assert(offsetof(Constants, cameraPosition) == 260);
static_assert(offsetof(Constants, lightPos) == 272);
static_assert(sizeof(Constants) == 288);

std::array<float, 16> columns(const Matrix4f& matrix)
{
    std::array<float, 16> result{};
    std::copy_n(matrix.data(), 16, result.begin());
    return result;
}

/// A triangle in a plane of constant z that covers the target, doubled, halved and moved by (0.1, -0.2, 0.3).
class MeshShaderDevice : public ShaderTestTargets
{
public:
    static constexpr float kWorldZ = 0.4f;

    MeshShaderDevice()
    {
        Matrix4f model = Matrix4f::Identity();
        model.topLeftCorner<3, 3>() *= 2.0f;
        model.topRightCorner<3, 1>() = Vector3f(0.1f, -0.2f, 0.3f);
        constants.modelMatrix = columns(model);
        constants.viewProjectionMatrix = columns(Matrix4f::Identity());
        constants.unitScale = 0.5f;
        constants.cameraPosition = {0.5f, -1.0f, 2.0f};
    }

    void drawMesh(const Vector3f& normal)
    {
        const auto vertex = [&](float x, float y)
        {
            return VertexPosNormalTexCoordColor(
                x, y, 0.1f, normal.x(), normal.y(), normal.z(), 0.0f, 0.0f, 255, 51, 102, 7
            );
        };
        const std::vector<VertexPosNormalTexCoordColor> vertices{
            vertex(-4.0f, -4.0f), vertex(-4.0f, 8.0f), vertex(8.0f, -4.0f)};
        const UINT stride = sizeof(VertexPosNormalTexCoordColor);
        const D3D11_BUFFER_DESC desc{3 * stride, D3D11_USAGE_IMMUTABLE, D3D11_BIND_VERTEX_BUFFER, 0, 0, 0};
        const D3D11_SUBRESOURCE_DATA data{vertices.data(), 0, 0};
        Render::CComPtr<ID3D11Buffer> buffer;
        ASSERT_EQ(device()->CreateBuffer(&desc, &data, buffer.put()), S_OK);
        Render::ConstantBlock<Constants> block(device(), constants);
        const auto vertexShader =
            Render::VertexShader::fromHlslResource(device(), "shaders/mesh.hlsl", Render::meshInputLayout());
        const auto pixelShader = Render::PixelShader::fromHlslResource(device(), "shaders/mesh.hlsl");

        draw(
            [&]
            {
                vertexShader.begin(context());
                pixelShader.begin(context());
                block.begin(
                    context(), Render::ShaderConfiguration::Vertex | Render::ShaderConfiguration::Pixel, 0
                );
                ID3D11Buffer* const buffers[] = {buffer};
                const UINT offset = 0;
                context()->IASetVertexBuffers(0, 1, buffers, &stride, &offset);
                context()->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
                context()->Draw(3, 0);
            }
        );
    }

    Constants constants;
};
}  // namespace

TEST_F(MeshShaderDevice, WorldPositionsAreScaledAndPlaced)
{
    drawMesh({0.0f, 0.0f, 1.0f});

    const float tolerance = 1e-5f;  // interpolation over a triangle several times the target
    const float snapped =
        (ndcX(1) - ndcX(0)) / 256.0f;  // rasterizers place corners on a grid of 256 to a pixel
    for (const auto& [x, y] : {std::pair(0U, 0U), std::pair(7U, 7U), std::pair(2U, 5U)})
    {
        const auto expected = ElementsAre(
            FloatNear(ndcX(x), snapped),
            FloatNear(ndcY(y), snapped),
            FloatNear(kWorldZ, tolerance),
            FloatNear(1.0f, tolerance)
        );
        EXPECT_THAT(worldPosition.at(x, y), expected);
        EXPECT_THAT(exactWorldPosition.at(x, y), expected);
        EXPECT_NEAR(depth.at(x, y), kWorldZ, tolerance);
    }
}

TEST_F(MeshShaderDevice, BothSidesAreLitFromTheCamera)
{
    const Vector3f camera(0.5f, -1.0f, 2.0f);
    const Vector3f point(ndcX(6), ndcY(1), kWorldZ);
    const float diffuse = std::abs((camera - point).normalized().z());
    const float light = 0.2f + 0.8f * diffuse;

    for (const float side : {3.0f, -3.0f})  // normals need not be of unit length
    {
        drawMesh({0.0f, 0.0f, side});
        EXPECT_THAT(
            color.at(6, 1),
            ElementsAre(
                FloatNear(light, 1e-4f), FloatNear(0.2f * light, 1e-4f), FloatNear(0.4f * light, 1e-4f), 1.0f
            )
        );
    }
}

TEST_F(MeshShaderDevice, ClippingPlanesDiscardTheirNegativeSide)
{
    constants.clipping_planes[0] = {1.0f, 0.0f, 0.0f, 0.0f};   // keeps x >= 0
    constants.clipping_planes[7] = {0.0f, -1.0f, 0.0f, 0.5f};  // keeps y <= 0.5

    drawMesh({0.0f, 0.0f, 1.0f});

    for (unsigned int y = 0; y < kSize; ++y)
    {
        for (unsigned int x = 0; x < kSize; ++x)
        {
            const bool isKept = ndcX(x) >= 0.0f && ndcY(y) <= 0.5f;
            EXPECT_EQ(worldPosition.at(x, y)[3] > 0.0f, isKept) << x << ", " << y;
            EXPECT_EQ(depth.at(x, y) < 1.0f, isKept) << x << ", " << y;
        }
    }
}
