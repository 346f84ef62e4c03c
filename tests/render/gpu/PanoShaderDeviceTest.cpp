#include "render/gpu/PixelShader.h"
#include "render/gpu/SamplerState.h"
#include "render/gpu/ShaderResourceView.h"
#include "render/gpu/Texture2d.h"
#include "render/gpu/VertexShader.h"
#include "tests/render/gpu/ShaderTestTargets.h"

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <vector>

using Eigen::Matrix4f;
using Eigen::Vector3f;
using Eigen::Vector4f;
using Render::ShaderConfiguration;

namespace
{
/// cbConstant as the shader lays it out.
struct Constants
{
    std::array<float, 16> viewProjection{};
    std::array<float, 16> inverseModelViewProjection{};
    std::array<float, 16> model{};
    std::array<float, 16> inverseModelView{};
    float zNear = 0.0f;
    float zFar = 0.0f;
    float scale = 0.0f;
    float padding = 0.0f;
};

static_assert(offsetof(Constants, zNear) == 256);
static_assert(sizeof(Constants) == 272);

std::array<float, 16> columns(const Matrix4f& matrix)
{
    std::array<float, 16> result{};
    std::copy_n(matrix.data(), 16, result.begin());
    return result;
}

/// A panorama of twice the size, turned and moved, seen from its centre. Its colour is the texture
/// coordinate.
class PanoShaderDevice : public ShaderTestTargets
{
public:
    static constexpr float kNear = 0.5f;
    static constexpr float kFar = 50.0f;
    static constexpr float kScale = 2.0f;
    static constexpr unsigned int kWidth = 256;
    static constexpr unsigned int kHeight = 128;

    PanoShaderDevice()
    {
        const Vector3f center(3.0f, -1.0f, 2.0f);
        model.topLeftCorner<3, 3>() =
            kScale * Eigen::AngleAxisf(0.7f, Vector3f(1.0f, 2.0f, 3.0f).normalized()).toRotationMatrix();
        model.topRightCorner<3, 1>() = center;

        // The camera stands in the panorama's centre, turned; it looks down its own -z.
        const Eigen::Matrix3f camera =
            Eigen::AngleAxisf(-0.4f, Vector3f(3.0f, 1.0f, -2.0f).normalized()).toRotationMatrix();
        view.topLeftCorner<3, 3>() = camera.transpose();
        view.topRightCorner<3, 1>() = -camera.transpose() * center;

        Matrix4f projection = Matrix4f::Zero();  // 90 degrees both ways, depth 0 at near, 1 at far
        projection(0, 0) = 1.0f;
        projection(1, 1) = 1.0f;
        projection(2, 2) = kFar / (kNear - kFar);
        projection(2, 3) = kNear * kFar / (kNear - kFar);
        projection(3, 2) = -1.0f;
        viewProjection = projection * view;
    }

    void drawPano(float distance)
    {
        std::vector<Float4> colors;
        for (unsigned int y = 0; y < kHeight; ++y)
        {
            for (unsigned int x = 0; x < kWidth; ++x)
            {
                colors.push_back(
                    {(static_cast<float>(x) + 0.5f) / kWidth,
                     (static_cast<float>(y) + 0.5f) / kHeight,
                     0.25f,
                     1.0f}
                );
            }
        }
        Render::Texture2d colorTexture(
            device(), textureDesc(0, 0, DXGI_FORMAT_R32G32B32A32_FLOAT, D3D11_BIND_SHADER_RESOURCE)
        );
        colorTexture.load(
            device(), kWidth, kHeight, kWidth * sizeof(Float4), reinterpret_cast<const char*>(colors.data())
        );
        Render::Texture2d depthTexture(
            device(), textureDesc(0, 0, DXGI_FORMAT_R32_FLOAT, D3D11_BIND_SHADER_RESOURCE)
        );
        depthTexture.load(device(), 1, 1, sizeof distance, reinterpret_cast<const char*>(&distance));
        Render::ShaderResourceView colorView(device(), colorTexture.get(), nullptr);
        Render::ShaderResourceView depthView(device(), depthTexture.get(), nullptr);
        D3D11_SAMPLER_DESC samplerDesc{};
        samplerDesc.Filter = D3D11_FILTER_MIN_MAG_MIP_POINT;
        samplerDesc.AddressU = D3D11_TEXTURE_ADDRESS_WRAP;
        samplerDesc.AddressV = D3D11_TEXTURE_ADDRESS_CLAMP;
        samplerDesc.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
        samplerDesc.MaxAnisotropy = 1;
        samplerDesc.ComparisonFunc = D3D11_COMPARISON_NEVER;
        Render::SamplerState sampler(device(), samplerDesc);
        Render::ConstantBlock<Constants> block(
            device(),
            Constants{
                .viewProjection = columns(viewProjection),
                .inverseModelViewProjection = columns((viewProjection * model).inverse()),
                .model = columns(model),
                .inverseModelView = columns((view * model).inverse()),
                .zNear = kNear,
                .zFar = kFar,
                .scale = kScale,
            }
        );
        const auto vertexShader = Render::VertexShader::fromHlslResource(device(), "shaders/pano.hlsl", {});
        const auto pixelShader = Render::PixelShader::fromHlslResource(device(), "shaders/pano.hlsl");

        draw(
            [&]
            {
                vertexShader.begin(context());
                pixelShader.begin(context());
                block.begin(context(), ShaderConfiguration::Vertex | ShaderConfiguration::Pixel, 0);
                colorView.begin(context(), ShaderConfiguration::Pixel, 0);
                depthView.begin(context(), ShaderConfiguration::Pixel, 1);
                sampler.begin(context(), ShaderConfiguration::Pixel, 0);
                context()->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
                context()->DrawInstanced(4, 1, 0, 0);
            }
        );
    }

    /// Unit direction of a pixel in the panorama's own frame.
    Vector3f direction(unsigned int x, unsigned int y) const
    {
        const Vector3f inView = Vector3f(ndcX(x), ndcY(y), -1.0f);
        const Eigen::Matrix3f toModel = (view * model).topLeftCorner<3, 3>().inverse();
        return (toModel * inView).normalized();
    }

    /// Cosine between a pixel's direction and where the camera looks.
    static float cosine(unsigned int x, unsigned int y)
    {
        return 1.0f / Vector3f(ndcX(x), ndcY(y), 1.0f).norm();
    }

    void expectDistance(unsigned int x, unsigned int y, float modelDistance)
    {
        const Vector4f expected = model * (modelDistance * direction(x, y)).homogeneous();
        const Vector4f clip = viewProjection * expected;
        const float tolerance = 2e-4f * expected.norm();  // two matrix products of single precision
        for (unsigned int i = 0; i < 4; ++i)
        {
            EXPECT_NEAR(worldPosition.at(x, y)[i], expected[i], tolerance) << x << ", " << y << " " << i;
            EXPECT_EQ(exactWorldPosition.at(x, y)[i], worldPosition.at(x, y)[i]);
        }
        EXPECT_NEAR(depth.at(x, y), clip.z() / clip.w(), 1e-4f) << x << ", " << y;
    }

    Matrix4f model = Matrix4f::Identity();
    Matrix4f view = Matrix4f::Identity();
    Matrix4f viewProjection = Matrix4f::Identity();
};
}  // namespace

TEST_F(PanoShaderDevice, EachPixelReadsItsDirection)
{
    drawPano(5.0f);

    for (unsigned int y = 0; y < kSize; ++y)
    {
        for (unsigned int x = 0; x < kSize; ++x)
        {
            const Vector3f d = direction(x, y);
            const float u = 0.5f - std::atan2(d.y(), d.x()) / (2.0f * std::numbers::pi_v<float>);
            const float v = 0.5f - std::asin(d.z()) / std::numbers::pi_v<float>;
            // half a texel of the nearest one, and the errors of the shader's arcs
            EXPECT_NEAR(color.at(x, y)[0], u, 0.5f / kWidth + 1e-4f) << x << ", " << y;
            EXPECT_NEAR(color.at(x, y)[1], v, 0.5f / kHeight + 1e-4f) << x << ", " << y;
            EXPECT_EQ(color.at(x, y)[2], 0.25f);
            EXPECT_EQ(color.at(x, y)[3], 1.0f);
        }
    }
}

TEST_F(PanoShaderDevice, DistancesBecomeWorldPositionsAndDepth)
{
    drawPano(5.0f);

    expectDistance(0, 0, 5.0f);
    expectDistance(7, 2, 5.0f);
    expectDistance(4, 4, 5.0f);
}

TEST_F(PanoShaderDevice, WhatIsInfinitelyFarStaysInFrontOfTheFarPlane)
{
    drawPano(std::numeric_limits<float>::max());

    expectDistance(0, 0, (kFar / kScale - 1.0f) / cosine(0, 0));
    expectDistance(4, 3, (kFar / kScale - 1.0f) / cosine(4, 3));
    EXPECT_LT(depth.at(0, 0), 1.0f);
}

TEST_F(PanoShaderDevice, WhatIsTooNearIsPutOnTheNearPlane)
{
    drawPano(0.0f);

    expectDistance(0, 7, kNear / kScale / cosine(0, 7));
    EXPECT_NEAR(depth.at(0, 7), 0.0f, 1e-4f);
}
