#include "render/gpu/BlendState.h"
#include "render/gpu/DepthStencilState.h"
#include "render/gpu/RasterizerState.h"
#include "render/gpu/RenderPass.h"
#include "render/pointcloud/OutputState.h"
#include "tests/support/DeviceFixture.h"

#include <gtest/gtest.h>

namespace Render
{
namespace
{
using Comparison = DepthRule::Test;

D3D11_DEPTH_STENCIL_DESC writing(D3D11_COMPARISON_FUNC function)
{
    D3D11_DEPTH_STENCIL_DESC desc{};
    desc.DepthEnable = TRUE;
    desc.DepthWriteMask = D3D11_DEPTH_WRITE_MASK_ALL;
    desc.DepthFunc = function;
    return desc;
}

/// A pass with a depth buffer, 8 x 4 pixels.
class OutputStateDevice : public DeviceFixture
{
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        if (IsSkipped())
        {
            return;
        }
        mPass = std::make_unique<RenderPass>(device(), 8, 4);
        mPass->addRenderTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
        mPass->addDepthBuffer(D3D11_CLEAR_DEPTH, 1.0F, 0);
        setViewport(8, 4);
        mPass->begin(context());
    }

    void TearDown() override
    {
        if (mPass)
        {
            mPass->end(context());
        }
        DeviceFixture::TearDown();
    }

    std::unique_ptr<RenderPass> mPass;
};
}  // namespace

TEST(DepthRuleOf, ComparisonsTellWhatIsNearerAndWhoWinsAmongEquals)
{
    struct Row
    {
        D3D11_COMPARISON_FUNC function;
        Comparison test;
        bool isLastFirst;
    };

    for (const Row row :
         {Row{D3D11_COMPARISON_LESS, Comparison::LessIsNearer, false},
          Row{D3D11_COMPARISON_LESS_EQUAL, Comparison::LessIsNearer, true},
          Row{D3D11_COMPARISON_GREATER, Comparison::GreaterIsNearer, false},
          Row{D3D11_COMPARISON_GREATER_EQUAL, Comparison::GreaterIsNearer, true}})
    {
        const auto rule = depthRuleOf(writing(row.function), true);
        ASSERT_TRUE(rule.has_value());
        EXPECT_EQ(rule->test, row.test);
        EXPECT_EQ(rule->isLastFirst, row.isLastFirst);
    }
}

TEST(DepthRuleOf, WithoutTestOrBufferTheLastWins)
{
    D3D11_DEPTH_STENCIL_DESC untested = writing(D3D11_COMPARISON_LESS);
    untested.DepthEnable = FALSE;
    for (const auto& rule : {depthRuleOf(untested, true), depthRuleOf(writing(D3D11_COMPARISON_LESS), false)})
    {
        ASSERT_TRUE(rule.has_value());
        EXPECT_EQ(rule->test, Comparison::None);
        EXPECT_TRUE(rule->isLastFirst);
    }
}

TEST(DepthRuleOf, OtherTestsHaveNoRule)
{
    EXPECT_FALSE(depthRuleOf(writing(D3D11_COMPARISON_EQUAL), true).has_value());
    EXPECT_FALSE(depthRuleOf(writing(D3D11_COMPARISON_NEVER), true).has_value());
    D3D11_DEPTH_STENCIL_DESC readOnly = writing(D3D11_COMPARISON_LESS);
    readOnly.DepthWriteMask = D3D11_DEPTH_WRITE_MASK_ZERO;
    EXPECT_FALSE(depthRuleOf(readOnly, true).has_value());
    D3D11_DEPTH_STENCIL_DESC stencil = writing(D3D11_COMPARISON_LESS);
    stencil.StencilEnable = TRUE;
    EXPECT_FALSE(depthRuleOf(stencil, true).has_value());
}

TEST_F(OutputStateDevice, DefaultsAreDirect3Ds)
{
    const OutputState state = outputStateOf(context());

    ASSERT_TRUE(state.depthRule.has_value());
    EXPECT_EQ(state.depthRule->test, Comparison::LessIsNearer);
    EXPECT_FALSE(state.depthRule->isLastFirst);
    EXPECT_EQ(state.viewport.Width, 8.0F);
    EXPECT_EQ(state.viewport.Height, 4.0F);
}

TEST_F(OutputStateDevice, TheReversedDepthBufferLetsTheLastOfEqualsWin)
{
    const DepthStencilState reversed(device(), true, true, true);
    reversed.set(context(), 0);

    const OutputState state = outputStateOf(context());

    ASSERT_TRUE(state.depthRule.has_value());
    EXPECT_EQ(state.depthRule->test, Comparison::GreaterIsNearer);
    EXPECT_TRUE(state.depthRule->isLastFirst);
}

TEST_F(OutputStateDevice, BlendingHasNoRule)
{
    D3D11_BLEND_DESC desc{};
    for (D3D11_RENDER_TARGET_BLEND_DESC& target : desc.RenderTarget)
    {
        target = {
            .BlendEnable = TRUE,
            .SrcBlend = D3D11_BLEND_SRC_ALPHA,
            .DestBlend = D3D11_BLEND_INV_SRC_ALPHA,
            .BlendOp = D3D11_BLEND_OP_ADD,
            .SrcBlendAlpha = D3D11_BLEND_ONE,
            .DestBlendAlpha = D3D11_BLEND_ZERO,
            .BlendOpAlpha = D3D11_BLEND_OP_ADD,
            .RenderTargetWriteMask = D3D11_COLOR_WRITE_ENABLE_ALL,
        };
    }
    const BlendState blended(device(), desc);
    blended.set(context(), nullptr, 0xFFFFFFFFU);

    EXPECT_FALSE(outputStateOf(context()).depthRule.has_value());
}

TEST_F(OutputStateDevice, RasterizersThatMoveOrCutTrianglesHaveNoRule)
{
    D3D11_RASTERIZER_DESC plain{};
    plain.FillMode = D3D11_FILL_SOLID;
    plain.CullMode = D3D11_CULL_NONE;
    plain.DepthClipEnable = TRUE;
    const auto hasRule = [&](const D3D11_RASTERIZER_DESC& desc)
    {
        const RasterizerState state(device(), desc);
        state.set(context());
        return outputStateOf(context()).depthRule.has_value();
    };
    EXPECT_TRUE(hasRule(plain));

    D3D11_RASTERIZER_DESC wire = plain;
    wire.FillMode = D3D11_FILL_WIREFRAME;
    EXPECT_FALSE(hasRule(wire));
    D3D11_RASTERIZER_DESC biased = plain;
    biased.DepthBias = 3;
    EXPECT_FALSE(hasRule(biased));
    D3D11_RASTERIZER_DESC culled = plain;
    culled.CullMode = D3D11_CULL_FRONT;
    EXPECT_FALSE(hasRule(culled));
    culled.FrontCounterClockwise = TRUE;
    EXPECT_TRUE(hasRule(culled));
    D3D11_RASTERIZER_DESC cut = plain;
    cut.ScissorEnable = TRUE;
    EXPECT_FALSE(hasRule(cut));
}
}  // namespace Render
