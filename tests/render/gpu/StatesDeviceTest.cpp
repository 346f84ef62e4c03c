#include "math/Color.h"
#include "render/gpu/BlendState.h"
#include "render/gpu/DepthStencilState.h"
#include "render/gpu/DepthStencilView.h"
#include "render/gpu/IndexBuffer.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/RasterizerState.h"
#include "render/gpu/RenderTargetView.h"
#include "render/gpu/VertexShader.h"
#include "render/gpu/shaderBytecode.h"
#include "tests/render/gpu/resultOf.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

using Math::Color;
using Render::BlendState;
using Render::DepthStencilState;
using Render::DepthStencilView;
using Render::IndexBuffer;
using Render::PixelShader;
using Render::RasterizerState;
using Render::RenderTargetView;
using Render::Texture2d;
using Render::VertexShader;
using testing::Each;
using testing::ElementsAre;

namespace
{
/// Draws triangles that cover a 4 x 4 colour target with a depth buffer.
class StatesDevice : public DeviceFixture
{
public:
    static constexpr unsigned int kSize = 4;

    void SetUp() override
    {
        DeviceFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        mColor = Texture2d(
            device(), textureDesc(kSize, kSize, DXGI_FORMAT_B8G8R8A8_UNORM, D3D11_BIND_RENDER_TARGET)
        );
        mDepth = Texture2d(
            device(), textureDesc(kSize, kSize, DXGI_FORMAT_R32_TYPELESS, D3D11_BIND_DEPTH_STENCIL)
        );
        mColorView = RenderTargetView(device(), mColor.get(), {0.0f, 0.0f, 0.0f, 1.0f});
        mDepthView = DepthStencilView(device(), mDepth.get(), D3D11_CLEAR_DEPTH, 0.5f, 0);

        // One clockwise triangle that covers the target.
        const std::string vertexSource = R"(
cbuffer constants : register(b0) { float depth; float3 unused; float4 color; };
float4 vs_main(uint id : SV_VertexID) : SV_POSITION
{
    const float2 corners[3] = {float2(-1, 1), float2(3, 1), float2(-1, -3)};
    return float4(corners[id], depth, 1);
})";
        const std::string pixelSource = R"(
cbuffer constants : register(b0) { float depth; float3 unused; float4 color; };
float4 ps_main() : SV_TARGET { return color; })";
        mVertexShader = VertexShader::fromCsoString(
            device(), Render::compileHlsl(vertexSource, "vertex", nullptr, Render::kVertexProfile), {}
        );
        mPixelShader = PixelShader::fromCsoString(
            device(), Render::compileHlsl(pixelSource, "pixel", nullptr, Render::kPixelProfile)
        );
    }

    void clear()
    {
        mColorView.clear(context());
        mDepthView.clear(context());
    }

    /// Draws with whatever state is set.
    void draw(float depth, const Float4& color, bool isIndexed = false)
    {
        const std::array<float, 8> constants{depth, 0, 0, 0, color[0], color[1], color[2], color[3]};
        const D3D11_BUFFER_DESC desc{
            sizeof constants, D3D11_USAGE_IMMUTABLE, D3D11_BIND_CONSTANT_BUFFER, 0, 0, 0};
        const D3D11_SUBRESOURCE_DATA data{constants.data(), 0, 0};
        Render::CComPtr<ID3D11Buffer> buffer;
        ASSERT_EQ(device()->CreateBuffer(&desc, &data, buffer.put()), S_OK);
        ID3D11Buffer* const buffers[] = {buffer};
        context()->VSSetConstantBuffers(0, 1, buffers);
        context()->PSSetConstantBuffers(0, 1, buffers);
        ID3D11RenderTargetView* const targets[] = {mColorView.get()};
        context()->OMSetRenderTargets(1, targets, mDepthView.get());
        setViewport(kSize, kSize);
        mVertexShader.begin(context());
        mPixelShader.begin(context());
        context()->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
        isIndexed ? context()->DrawIndexed(3, 0, 0) : context()->Draw(3, 0);
    }

    Color pixel() { return readBack<Color>(mColor).at(1, 2); }

    float depth() { return readBack<float>(mDepth).at(1, 2); }

    /// Whether a fragment at a depth is drawn over the 0.5 that is there.
    bool passes(const DepthStencilState& state, float fragmentDepth)
    {
        clear();
        state.set(context(), 0);
        draw(fragmentDepth, {1.0f, 1.0f, 1.0f, 1.0f});
        return pixel() == Color(255, 255, 255, 255);
    }

private:
    Texture2d mColor;
    Texture2d mDepth;
    RenderTargetView mColorView;
    DepthStencilView mDepthView;
    VertexShader mVertexShader;
    PixelShader mPixelShader;
};

D3D11_BLEND_DESC opaqueDesc()
{
    D3D11_BLEND_DESC desc{};
    for (D3D11_RENDER_TARGET_BLEND_DESC& target : desc.RenderTarget)
    {
        target.SrcBlend = D3D11_BLEND_ONE;
        target.DestBlend = D3D11_BLEND_ZERO;
        target.BlendOp = D3D11_BLEND_OP_ADD;
        target.SrcBlendAlpha = D3D11_BLEND_ONE;
        target.DestBlendAlpha = D3D11_BLEND_ZERO;
        target.BlendOpAlpha = D3D11_BLEND_OP_ADD;
        target.RenderTargetWriteMask = D3D11_COLOR_WRITE_ENABLE_ALL;
    }
    return desc;
}

D3D11_RASTERIZER_DESC solidDesc(D3D11_CULL_MODE cull)
{
    D3D11_RASTERIZER_DESC desc{};
    desc.FillMode = D3D11_FILL_SOLID;
    desc.CullMode = cull;
    desc.DepthClipEnable = TRUE;
    return desc;
}
}  // namespace

TEST_F(StatesDevice, AReversedDepthTestPassesGreaterAndEqualDepth)
{
    const DepthStencilState state(device(), true, true, true);

    EXPECT_TRUE(passes(state, 0.75f));
    EXPECT_TRUE(passes(state, 0.5f));
    EXPECT_FALSE(passes(state, 0.25f));
}

TEST_F(StatesDevice, AForwardDepthTestPassesLesserDepthOnly)
{
    const DepthStencilState state(device(), false, true, true);

    EXPECT_FALSE(passes(state, 0.75f));
    EXPECT_FALSE(passes(state, 0.5f));
    EXPECT_TRUE(passes(state, 0.25f));
}

TEST_F(StatesDevice, WithoutDepthTestEverythingPassesAndNoDepthIsWritten)
{
    const DepthStencilState state(device(), true, false, true);

    EXPECT_TRUE(passes(state, 0.25f));
    EXPECT_EQ(depth(), 0.5f);
    EXPECT_TRUE(passes(state, 0.75f));
    EXPECT_EQ(depth(), 0.5f);
}

TEST_F(StatesDevice, DepthIsWrittenOnlyWhenAskedFor)
{
    EXPECT_TRUE(passes(DepthStencilState(device(), true, true, true), 0.75f));
    EXPECT_EQ(depth(), 0.75f);

    EXPECT_TRUE(passes(DepthStencilState(device(), true, true, false), 0.75f));
    EXPECT_EQ(depth(), 0.5f);
}

TEST_F(StatesDevice, ADepthStateDescribesItselfAsBuilt)
{
    D3D11_DEPTH_STENCIL_DESC desc{};
    DepthStencilState(device(), true, true, false).get()->GetDesc(&desc);

    EXPECT_TRUE(desc.DepthEnable);
    EXPECT_EQ(desc.DepthWriteMask, D3D11_DEPTH_WRITE_MASK_ZERO);
    EXPECT_EQ(desc.DepthFunc, D3D11_COMPARISON_GREATER_EQUAL);
    EXPECT_FALSE(desc.StencilEnable);
}

TEST_F(StatesDevice, SettingTheDepthStateSetsTheStencilReference)
{
    const DepthStencilState state(device(), true, true, true);
    CheckedContext checked(context());
    checked.name(state.get(), "state");

    state.set(&checked, 7);

    EXPECT_THAT(checked.calls(), ElementsAre("OMSetDepthStencilState state 7"));
}

TEST_F(StatesDevice, ADepthStateFromADescriptorIsThatDescriptors)
{
    D3D11_DEPTH_STENCIL_DESC desc{};
    desc.DepthEnable = TRUE;
    desc.DepthWriteMask = D3D11_DEPTH_WRITE_MASK_ALL;
    desc.DepthFunc = D3D11_COMPARISON_EQUAL;
    desc.FrontFace = {
        D3D11_STENCIL_OP_KEEP, D3D11_STENCIL_OP_KEEP, D3D11_STENCIL_OP_KEEP, D3D11_COMPARISON_ALWAYS};
    desc.BackFace = desc.FrontFace;
    const DepthStencilState state(device(), desc);

    EXPECT_TRUE(passes(state, 0.5f));
    EXPECT_FALSE(passes(state, 0.75f));
}

TEST_F(StatesDevice, BlendingMixesByAlpha)
{
    D3D11_BLEND_DESC desc = opaqueDesc();
    desc.RenderTarget[0].BlendEnable = TRUE;
    desc.RenderTarget[0].SrcBlend = D3D11_BLEND_SRC_ALPHA;
    desc.RenderTarget[0].DestBlend = D3D11_BLEND_INV_SRC_ALPHA;
    const BlendState blending(device(), desc);
    const BlendState opaque(device(), opaqueDesc());
    clear();

    opaque.set(context(), nullptr, 0xFFFFFFFFU);
    draw(0.25f, {1.0f, 0.0f, 0.0f, 1.0f});
    blending.set(context(), nullptr, 0xFFFFFFFFU);
    draw(0.125f, {0.0f, 1.0f, 0.0f, 0.25f});

    const Color result = pixel();
    EXPECT_NEAR(result.r(), 191, 1);  // 255 x 0.75; drivers round blended values differently
    EXPECT_NEAR(result.g(), 64, 1);
    EXPECT_EQ(result.b(), 0);
    EXPECT_NEAR(result.a(), 64, 1);  // one times the new alpha
}

TEST_F(StatesDevice, ABlendFactorIsPassedOn)
{
    D3D11_BLEND_DESC desc = opaqueDesc();
    desc.RenderTarget[0].BlendEnable = TRUE;
    desc.RenderTarget[0].SrcBlend = D3D11_BLEND_BLEND_FACTOR;
    const BlendState state(device(), desc);
    clear();

    const Float4 factor{0.2f, 0.4f, 0.6f, 1.0f};
    state.set(context(), factor.data(), 0xFFFFFFFFU);
    draw(0.25f, {1.0f, 1.0f, 1.0f, 1.0f});

    const Color result = pixel();
    EXPECT_NEAR(result.r(), 51, 1);
    EXPECT_NEAR(result.g(), 102, 1);
    EXPECT_NEAR(result.b(), 153, 1);
}

TEST_F(StatesDevice, SettingTheBlendStateSetsTheSampleMask)
{
    const BlendState state(device(), opaqueDesc());

    state.set(context(), nullptr, 0x12345678U);

    Render::CComPtr<ID3D11BlendState> current;
    Float4 factor{};
    UINT sampleMask = 0;
    context()->OMGetBlendState(current.put(), factor.data(), &sampleMask);
    EXPECT_EQ(current.get(), state.get());
    EXPECT_EQ(sampleMask, 0x12345678U);
    EXPECT_THAT(factor, Each(1.0f));
}

TEST_F(StatesDevice, TheRasterizerStateDecidesWhichSidesAreDrawn)
{
    const RasterizerState cullBack(device(), solidDesc(D3D11_CULL_BACK));
    const RasterizerState cullNone(device(), solidDesc(D3D11_CULL_NONE));
    IndexBuffer clockwise(device(), {0, 1, 2});
    IndexBuffer counterClockwise(device(), {0, 2, 1});
    const auto isDrawn = [&](const RasterizerState& state, IndexBuffer& indices)
    {
        clear();
        state.set(context());
        indices.begin(context(), 0);
        draw(0.25f, {1.0f, 1.0f, 1.0f, 1.0f}, true);
        return pixel() == Color(255, 255, 255, 255);
    };

    EXPECT_TRUE(isDrawn(cullBack, clockwise));
    EXPECT_FALSE(isDrawn(cullBack, counterClockwise));
    EXPECT_TRUE(isDrawn(cullNone, clockwise));
    EXPECT_TRUE(isDrawn(cullNone, counterClockwise));
}

TEST_F(StatesDevice, MovedStatesAreEmpty)
{
    DepthStencilState depthState(device(), true, true, true);
    BlendState blendState(device(), opaqueDesc());
    RasterizerState rasterizerState(device(), solidDesc(D3D11_CULL_NONE));

    const DepthStencilState movedDepth(std::move(depthState));
    const BlendState movedBlend(std::move(blendState));
    const RasterizerState movedRasterizer(std::move(rasterizerState));

    EXPECT_NE(movedDepth.get(), nullptr);
    EXPECT_NE(movedBlend.get(), nullptr);
    EXPECT_NE(movedRasterizer.get(), nullptr);
    // NOLINTBEGIN(bugprone-use-after-move): empty is promised
    EXPECT_EQ(depthState.get(), nullptr);
    EXPECT_EQ(blendState.get(), nullptr);
    EXPECT_EQ(rasterizerState.get(), nullptr);
    // NOLINTEND(bugprone-use-after-move)
}

TEST_F(StatesDevice, IndicesChooseTheVertices)
{
    IndexBuffer indices(device(), {9, 9, 0, 1, 2});
    CheckedContext checked(context());
    clear();

    indices.begin(&checked, 8);  // past the two nines
    draw(0.25f, {1.0f, 1.0f, 1.0f, 1.0f}, true);
    indices.end(&checked);

    EXPECT_EQ(indices.numIndices(), 5U);
    EXPECT_EQ(pixel(), Color(255, 255, 255, 255));
    EXPECT_THAT(checked.calls(), ElementsAre("IASetIndexBuffer ? 42 8", "IASetIndexBuffer null 42 8"));
    EXPECT_THAT(boundObjects(context()), testing::Not(testing::Contains("index buffer")));
}

TEST_F(StatesDevice, EndingAnIndexBufferThatWasNotBegunIsHarmless)
{
    const std::vector<unsigned int> values{0, 1, 2};
    IndexBuffer indices(device(), values.data(), values.size());
    CheckedContext checked(context());

    indices.end(&checked);
    indices.begin(&checked, 4);
    indices.end(&checked);
    indices.end(&checked);

    EXPECT_THAT(
        checked.calls(),
        ElementsAre(
            "IASetIndexBuffer null 42 0",
            "IASetIndexBuffer ? 42 4",
            "IASetIndexBuffer null 42 4",
            "IASetIndexBuffer null 42 0"
        )
    );
}

TEST_F(StatesDevice, AnIndexBufferNeedsIndices)
{
    EXPECT_EQ(resultOf([&] { IndexBuffer(device(), std::vector<unsigned int>{}); }), E_INVALIDARG);
}

TEST_F(StatesDevice, MoreIndicesThanABufferCanHoldAreRefused)
{
    const unsigned int index = 0;
    // 2^30 indices would make 2^32 bytes, which a 32-bit size turns into none.
    EXPECT_EQ(resultOf([&] { IndexBuffer(device(), &index, std::size_t{1} << 30U); }), E_INVALIDARG);
}
