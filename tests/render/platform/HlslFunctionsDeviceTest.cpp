#include "render/gpu/PixelShader.h"
#include "render/gpu/RenderTargetView.h"
#include "render/gpu/VertexShader.h"
#include "render/platform/linux/compileByVkd3d.h"
#include "tests/support/DeviceFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using testing::ElementsAre;

namespace
{
/// The functions of HLSL that the compiler lacks, where they run.
class HlslFunctionsDevice : public DeviceFixture
{
public:
    /// What an expression of HLSL is in the pixel whose middle is at (1.5, 0.5). Its "number" is uint 1, and
    /// known on the device only.
    static Float4 valueOf(const std::string& expression)
    {
        using Render::compileByVkd3d;
        const auto vertexShader = Render::VertexShader::fromCsoString(
            device(),
            compileByVkd3d(
                "float4 vs_main(uint id : SV_VertexID) : SV_POSITION\n"
                "{ return float4(2.0 * (id >> 1) - 1.0, 2.0 * (id & 1) - 1.0, 0.5, 1.0); }\n",
                "vertex",
                nullptr,
                Render::kVertexProfile
            ),
            {}
        );
        const auto pixelShader = Render::PixelShader::fromCsoString(
            device(),
            compileByVkd3d(
                "float4 ps_main(float4 position : SV_POSITION) : SV_TARGET\n"
                "{ uint number = (uint)position.x; return " +
                    expression + "; }\n",
                "pixel",
                nullptr,
                Render::kPixelProfile
            )
        );
        const Render::Texture2d texture(
            device(), textureDesc(2, 1, DXGI_FORMAT_R32G32B32A32_FLOAT, D3D11_BIND_RENDER_TARGET)
        );
        const Render::RenderTargetView view(device(), texture.get(), {});
        ID3D11RenderTargetView* const targets[] = {view.get()};
        context()->OMSetRenderTargets(1, targets, nullptr);
        setViewport(2, 1);
        context()->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
        vertexShader.begin(context());
        pixelShader.begin(context());
        context()->Draw(4, 0);
        vertexShader.end(context());
        pixelShader.end(context());
        context()->OMSetRenderTargets(0, nullptr, nullptr);
        return readBack<Float4>(texture).at(1, 0);
    }
};
}  // namespace

TEST_F(HlslFunctionsDevice, CountbitsCountsTheOnes)
{
    EXPECT_THAT(
        valueOf("float4(countbits(number - 1u), countbits(number), countbits(number * 0xf0f00001u), "
                "countbits(0u - number))"),
        ElementsAre(0.0f, 1.0f, 9.0f, 32.0f)
    );
}

/// A finite number, a negative infinity, no number, and the largest number.
TEST_F(HlslFunctionsDevice, NumbersAreClassified)
{
    const std::string numbers = "asfloat(number * uint4(0x3f800000u, 0xff800000u, 0x7fc00000u, 0x7f7fffffu))";

    EXPECT_THAT(valueOf("isnan(" + numbers + ") ? 1.0 : 0.0"), ElementsAre(0.0f, 0.0f, 1.0f, 0.0f));
    EXPECT_THAT(valueOf("isinf(" + numbers + ") ? 1.0 : 0.0"), ElementsAre(0.0f, 1.0f, 0.0f, 0.0f));
    EXPECT_THAT(valueOf("isfinite(" + numbers + ") ? 1.0 : 0.0"), ElementsAre(1.0f, 0.0f, 0.0f, 1.0f));
}
