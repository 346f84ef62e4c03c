#include "render/gpu/ConstantBuffer.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/RenderPass.h"
#include "render/gpu/ShaderInclude.h"
#include "render/gpu/VertexShader.h"
#include "render/gpu/shaderBytecode.h"
#include "tests/support/DeviceFixture.h"

#include <gtest/gtest.h>

#include <array>
#include <span>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Rgb = std::array<double, 3>;

struct Sample
{
    float x;
    Rgb expected;
};

struct NamedMap
{
    std::string function;
    std::vector<Sample> samples;
};

constexpr std::string_view kQuad = R"(
float4 vs_main(uint i : SV_VertexID) : SV_POSITION
{
    return float4(-1.0 + 2.0 * ((i >> 1) & 1), -1.0 + 2.0 * (i & 1), 0.5, 1.0);
}
)";

std::string pixelSource(const std::string& expression)
{
    return "#include \"shaders/colorprocessing.hlsl\"\n"
           "cbuffer cbValue : register(b0) { float4 value; };\n"
           "float4 ps_main(float4 position : SV_POSITION) : SV_TARGET { return " +
           expression + "; }\n";
}

/// Functions of the shared colour source, drawn into one pixel of full precision.
class ColorProcessing : public DeviceFixture
{
protected:
    /// @param expression  HLSL that makes a float4 from `value`
    Float4 evaluated(const std::string& expression, const Float4& value)
    {
        ShaderInclude include;
        const VertexShader vertexShader =
            VertexShader::fromCsoString(device(), compileHlsl(kQuad, "quad", nullptr, kVertexProfile), {});
        const PixelShader pixelShader = PixelShader::fromCsoString(
            device(), compileHlsl(pixelSource(expression), "expression", &include, kPixelProfile)
        );
        ConstantBuffer constants(device(), sizeof(value));
        RenderPass pass(device(), 1, 1);
        pass.addRenderTarget("color", DXGI_FORMAT_R32G32B32A32_FLOAT);

        setViewport(1, 1);
        pass.begin(context());
        vertexShader.begin(context());
        pixelShader.begin(context());
        constants.begin(context(), ShaderConfiguration::Pixel, 0, std::as_bytes(std::span(value)));
        context()->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
        context()->Draw(4, 0);
        constants.end(context());
        pixelShader.end(context());
        vertexShader.end(context());
        pass.end(context());
        return readBack<Float4>(pass.texture("color")).at(0, 0);
    }

    Float4 mapped(const std::string& function, float x)
    {
        return evaluated(function + "(value.x)", {x, 0.0F, 0.0F, 0.0F});
    }
};

class MapsWithoutANumber : public ColorProcessing, public testing::WithParamInterface<NamedMap>
{
};

void expectNear(const Float4& actual, const Rgb& expected)
{
    EXPECT_NEAR(actual[0], expected[0], 1e-4);
    EXPECT_NEAR(actual[1], expected[1], 1e-4);
    EXPECT_NEAR(actual[2], expected[2], 1e-4);
    EXPECT_EQ(actual[3], 1.0F);
}
}  // namespace

TEST_P(MapsWithoutANumber, HaveTheirColors)
{
    for (const Sample& sample : GetParam().samples)
    {
        SCOPED_TRACE(sample.x);
        expectNear(mapped(GetParam().function, sample.x), sample.expected);
    }
}

TEST_P(MapsWithoutANumber, ClampTheirArgument)
{
    EXPECT_EQ(mapped(GetParam().function, -2.0F), mapped(GetParam().function, 0.0F));
    EXPECT_EQ(mapped(GetParam().function, 3.0F), mapped(GetParam().function, 1.0F));
}

// Worked out by hand from the segments of each map.
INSTANTIATE_TEST_SUITE_P(
    ColorProcessing,
    MapsWithoutANumber,
    testing::Values(
        NamedMap{
            "jet",
            {{0.0F, {0.0, 0.0, 0.5}},
             {0.125F, {0.0, 0.0, 1.0}},
             {0.25F, {0.0, 0.5, 1.0}},
             {0.5F, {0.5, 1.0, 0.5}},
             {0.75F, {1.0, 0.5, 0.0}},
             {0.875F, {1.0, 0.0, 0.0}},
             {1.0F, {0.5, 0.0, 0.0}}}},
        NamedMap{
            "blue_green_red",
            {{0.0F, {0.0, 0.0, 1.0}},
             {0.25F, {0.0, 0.5, 0.5}},
             {0.5F, {0.0, 1.0, 0.0}},
             {0.75F, {0.5, 0.5, 0.0}},
             {1.0F, {1.0, 0.0, 0.0}}}},
        NamedMap{
            "hot",
            {{0.0F, {0.0, 0.0, 0.0}},
             {0.25F, {0.75, 0.0, 0.0}},
             {0.5F, {1.0, 0.5, 0.0}},
             {0.75F, {1.0, 1.0, 0.25}},
             {1.0F, {1.0, 1.0, 1.0}}}},
        NamedMap{
            "thermo",
            {{0.0F, {0.0, 0.0, 0.0}},
             {0.5F / 7.0F, {0.5, 0.0, 0.5}},
             {1.5F / 7.0F, {0.5, 0.0, 1.0}},
             {2.5F / 7.0F, {0.0, 0.5, 1.0}},
             {3.5F / 7.0F, {0.0, 1.0, 0.5}},
             {4.5F / 7.0F, {0.5, 1.0, 0.0}},
             {5.5F / 7.0F, {1.0, 0.5, 0.0}},
             {6.5F / 7.0F, {1.0, 0.5, 0.5}},
             {1.0F, {1.0, 1.0, 1.0}}}},
        NamedMap{
            "hsv",
            {{0.0F, {1.0, 0.0, 0.0}},
             {0.1F, {1.0, 0.5, 0.0}},
             {0.3F, {0.5, 1.0, 0.0}},
             {0.5F, {0.0, 1.0, 0.5}},
             {0.7F, {0.0, 0.5, 1.0}},
             {0.9F, {0.5, 0.0, 0.5}},
             {1.0F, {1.0, 0.0, 0.0}}}},
        NamedMap{
            "cubeHelixDefault",
            {{0.0F, {0.0, 0.0, 0.0}}, {0.5F, {0.70228, 0.42014, 0.37669}}, {1.0F, {1.0, 1.0, 1.0}}}},
        NamedMap{
            "cubeHelixRainbow", {{0.0F, {0.27221, 0.32775, 0.68152}}, {0.5F, {0.90942, 0.83130, 0.33369}}}}
    ),
    [](const testing::TestParamInfo<NamedMap>& map) { return map.param.function; }
);

TEST_F(ColorProcessing, GrayIsTheValueItself)
{
    EXPECT_EQ(mapped("gray", 0.25F), (Float4{0.25F, 0.25F, 0.25F, 1.0F}));
    EXPECT_EQ(mapped("gray", -1.5F), (Float4{-1.5F, -1.5F, -1.5F, 1.0F}));
    EXPECT_EQ(mapped("gray", 7.0F), (Float4{7.0F, 7.0F, 7.0F, 1.0F}));
}

TEST_F(ColorProcessing, ContrastStretchesAndClampsButKeepsAlpha)
{
    EXPECT_EQ(
        evaluated("adjustBrightnessContrast(value, 0.25, 2.0)", {0.25F, 0.5F, 0.125F, 0.3F}),
        (Float4{0.5F, 1.0F, 0.25F, 0.3F})
    );
    EXPECT_EQ(
        evaluated("adjustBrightnessContrast(value, -1.0, 1.0)", {0.25F, 0.5F, 1.0F, 7.0F}),
        (Float4{0.0F, 0.0F, 0.0F, 7.0F})
    );
}

TEST_F(ColorProcessing, NormalsBecomeColors)
{
    EXPECT_EQ(
        evaluated("colorizeByNormal(value.xyz)", {-1.0F, 0.0F, 1.0F, 0.0F}), (Float4{0.0F, 0.5F, 1.0F, 1.0F})
    );
}

TEST_F(ColorProcessing, DistanceIsThePlaceAlongTheLine)
{
    EXPECT_EQ(
        evaluated(
            "colorizeByPlaneDistance(value.xyz, float3(1.0, 0.0, 0.0), float3(1.0, 0.0, 8.0), (int)value.w)",
            {9.0F, 9.0F, 2.0F, 5.0F}
        ),
        (Float4{0.25F, 0.25F, 0.25F, 1.0F})
    );
}
}  // namespace Render
