#include "math/Color.h"
#include "render/gpu/DepthStencilView.h"
#include "render/gpu/RenderTargetView.h"
#include "render/gpu/SamplerState.h"
#include "render/gpu/ShaderResourceView.h"
#include "render/gpu/Texture2d.h"
#include "tests/render/gpu/referenceCount.h"
#include "tests/render/gpu/resultOf.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <utility>

using Render::DepthStencilView;
using Render::RenderTargetView;
using Render::SamplerState;
using Render::ShaderConfiguration;
using Render::ShaderResourceView;
using Render::Texture2d;
using testing::Each;
using testing::ElementsAre;

namespace
{
constexpr DXGI_FORMAT kColor = DXGI_FORMAT_B8G8R8A8_UNORM;
constexpr DXGI_FORMAT kFloat4 = DXGI_FORMAT_R32G32B32A32_FLOAT;

using RenderTargetViewDevice = DeviceFixture;
using DepthStencilViewDevice = DeviceFixture;

class ShaderResourceViewDevice : public DeviceFixture
{
public:
    Texture2d texture() { return {device(), textureDesc(4, 4, kColor, D3D11_BIND_SHADER_RESOURCE)}; }
};

class SamplerStateDevice : public DeviceFixture
{
public:
    static D3D11_SAMPLER_DESC desc()
    {
        D3D11_SAMPLER_DESC result{};
        result.Filter = D3D11_FILTER_MIN_MAG_MIP_LINEAR;
        result.AddressU = D3D11_TEXTURE_ADDRESS_WRAP;
        result.AddressV = D3D11_TEXTURE_ADDRESS_CLAMP;
        result.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
        result.MaxAnisotropy = 1;
        result.ComparisonFunc = D3D11_COMPARISON_NEVER;
        result.MaxLOD = D3D11_FLOAT32_MAX;
        return result;
    }
};

constexpr ShaderConfiguration kAllStages = ShaderConfiguration::Vertex | ShaderConfiguration::Geometry |
                                           ShaderConfiguration::Pixel | ShaderConfiguration::Compute;
}  // namespace

TEST_F(RenderTargetViewDevice, ClearWritesTheClearValue)
{
    const Texture2d texture(device(), textureDesc(17, 5, kFloat4, D3D11_BIND_RENDER_TARGET));
    const Float4 value{-1.5f, 0.25f, 3.0f, 1e-20f};
    const RenderTargetView view(device(), texture.get(), value);

    CheckedContext checked(context());
    view.clear(&checked);

    EXPECT_THAT(readBack<Float4>(texture).texels, Each(value));
}

TEST_F(RenderTargetViewDevice, EveryFormOfClearValueIsKept)
{
    const Texture2d texture(device(), textureDesc(4, 4, kColor, D3D11_BIND_RENDER_TARGET));
    RenderTargetView view(device(), texture.get(), {0.1f, 0.2f, 0.3f, 0.4f});
    EXPECT_THAT(view.clearValue(), ElementsAre(0.1f, 0.2f, 0.3f, 0.4f));

    view.setClearValue(Float4{0.5f, 0.6f, 0.7f, 0.8f});
    EXPECT_THAT(view.clearValue(), ElementsAre(0.5f, 0.6f, 0.7f, 0.8f));

    view.setClearValue(1.0f, 2.0f, 3.0f, 4.0f);
    EXPECT_THAT(view.clearValue(), ElementsAre(1.0f, 2.0f, 3.0f, 4.0f));

    view.setClearValue(9.0f);
    EXPECT_THAT(view.clearValue(), Each(9.0f));

    view.setClearValue(Math::Color(255, 128, 51, 0));
    EXPECT_THAT(
        view.clearValue(), ElementsAre(1.0f, static_cast<float>(128.0 / 255.0), static_cast<float>(0.2), 0.0f)
    );
}

TEST_F(RenderTargetViewDevice, AColorAsClearValueComesBackAsTheSameColor)
{
    const Texture2d texture(device(), textureDesc(2, 2, kColor, D3D11_BIND_RENDER_TARGET));
    RenderTargetView view(device(), texture.get(), {});
    const Math::Color color(1, 127, 200, 254);

    view.setClearValue(color);
    view.clear(context());

    EXPECT_THAT(readBack<Math::Color>(texture).texels, Each(color));
}

TEST_F(RenderTargetViewDevice, NoResourceThrowsTheResult)
{
    EXPECT_EQ(resultOf([&] { RenderTargetView(device(), nullptr, {}); }), E_INVALIDARG);
}

TEST_F(RenderTargetViewDevice, MovingTakesViewAndClearValue)
{
    const Texture2d texture(device(), textureDesc(2, 2, kColor, D3D11_BIND_RENDER_TARGET));
    RenderTargetView source(device(), texture.get(), {1.0f, 2.0f, 3.0f, 4.0f});
    ID3D11RenderTargetView* const raw = source.get();

    RenderTargetView target;
    target = std::move(source);

    EXPECT_EQ(target.get(), raw);
    EXPECT_THAT(target.clearValue(), ElementsAre(1.0f, 2.0f, 3.0f, 4.0f));
    EXPECT_EQ(source.get(), nullptr);  // NOLINT(bugprone-use-after-move): empty is promised
}

TEST_F(DepthStencilViewDevice, ClearWritesTheDepth)
{
    const Texture2d texture(
        device(),
        textureDesc(17, 5, DXGI_FORMAT_R32_TYPELESS, D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_SHADER_RESOURCE)
    );
    const DepthStencilView view(device(), texture.get(), D3D11_CLEAR_DEPTH, 0.625f, 0);

    CheckedContext checked(context());
    view.clear(&checked);

    EXPECT_THAT(readBack<float>(texture).texels, Each(0.625f));
}

TEST_F(DepthStencilViewDevice, SetClearValuesReplacesAllThree)
{
    const Texture2d texture(device(), textureDesc(4, 4, DXGI_FORMAT_R32_TYPELESS, D3D11_BIND_DEPTH_STENCIL));
    DepthStencilView view(device(), texture.get(), D3D11_CLEAR_DEPTH, 0.5f, 3);
    EXPECT_EQ(view.clearFlags(), 1U);
    EXPECT_EQ(view.depthClearValue(), 0.5f);
    EXPECT_EQ(view.stencilClearValue(), 3);

    view.setClearValues(D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL, 0.25f, 7);

    EXPECT_EQ(view.clearFlags(), 3U);
    EXPECT_EQ(view.depthClearValue(), 0.25f);
    EXPECT_EQ(view.stencilClearValue(), 7);
}

TEST_F(DepthStencilViewDevice, IsAViewOfFloatsAndOfTheFirstLevel)
{
    D3D11_TEXTURE2D_DESC desc = textureDesc(8, 8, DXGI_FORMAT_R32_TYPELESS, D3D11_BIND_DEPTH_STENCIL);
    desc.MipLevels = 0;
    const Texture2d texture(device(), desc);

    const DepthStencilView view(device(), texture.get(), D3D11_CLEAR_DEPTH, 0.0f, 0);

    D3D11_DEPTH_STENCIL_VIEW_DESC viewDesc{};
    view.get()->GetDesc(&viewDesc);
    EXPECT_EQ(viewDesc.Format, DXGI_FORMAT_D32_FLOAT);
    EXPECT_EQ(viewDesc.ViewDimension, D3D11_DSV_DIMENSION_TEXTURE2D);
    EXPECT_EQ(viewDesc.Flags, 0U);
    EXPECT_EQ(viewDesc.Texture2D.MipSlice, 0U);
}

TEST_F(DepthStencilViewDevice, AColorTextureThrowsTheResult)
{
    const Texture2d texture(device(), textureDesc(4, 4, kColor, D3D11_BIND_RENDER_TARGET));

    EXPECT_EQ(resultOf([&] { DepthStencilView(device(), texture.get(), 1, 0.0f, 0); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { DepthStencilView(device(), nullptr, 1, 0.0f, 0); }), E_INVALIDARG);
}

TEST_F(DepthStencilViewDevice, MovingTakesViewAndClearValues)
{
    const Texture2d texture(device(), textureDesc(4, 4, DXGI_FORMAT_R32_TYPELESS, D3D11_BIND_DEPTH_STENCIL));
    DepthStencilView source(device(), texture.get(), D3D11_CLEAR_DEPTH, 0.5f, 3);
    ID3D11DepthStencilView* const raw = source.get();

    const DepthStencilView target(std::move(source));

    EXPECT_EQ(target.get(), raw);
    EXPECT_EQ(target.clearFlags(), 1U);
    EXPECT_EQ(target.depthClearValue(), 0.5f);
    EXPECT_EQ(target.stencilClearValue(), 3);
    EXPECT_EQ(source.get(), nullptr);  // NOLINT(bugprone-use-after-move): empty is promised
}

TEST_F(ShaderResourceViewDevice, BeginBindsTheStagesInOrderAndEndUnbindsThem)
{
    const Texture2d resource = texture();
    ShaderResourceView view(device(), resource.get(), nullptr);
    CheckedContext checked(context());
    checked.name(view.get(), "view");

    view.begin(&checked, kAllStages, 5);
    EXPECT_THAT(
        checked.calls(),
        ElementsAre(
            "VSSetShaderResources 5 view",
            "PSSetShaderResources 5 view",
            "GSSetShaderResources 5 view",
            "CSSetShaderResources 5 view"
        )
    );
    EXPECT_THAT(
        boundObjects(context()),
        ElementsAre(
            "VS shader resource 5", "GS shader resource 5", "PS shader resource 5", "CS shader resource 5"
        )
    );

    checked.forgetCalls();
    view.end(&checked);
    EXPECT_THAT(
        checked.calls(),
        ElementsAre(
            "VSSetShaderResources 5 null",
            "PSSetShaderResources 5 null",
            "GSSetShaderResources 5 null",
            "CSSetShaderResources 5 null"
        )
    );
    EXPECT_THAT(boundObjects(context()), testing::IsEmpty());
}

TEST_F(ShaderResourceViewDevice, BeginBindsNoOtherStage)
{
    const Texture2d resource = texture();
    ShaderResourceView view(device(), resource.get(), nullptr);

    view.begin(context(), ShaderConfiguration::Geometry, 0);

    EXPECT_THAT(boundObjects(context()), ElementsAre("GS shader resource 0"));
}

TEST_F(ShaderResourceViewDevice, ASecondBeginThrowsAndLeavesTheFirstBinding)
{
    const Texture2d resource = texture();
    ShaderResourceView view(device(), resource.get(), nullptr);
    view.begin(context(), ShaderConfiguration::Pixel, 1);

    EXPECT_EQ(
        messageOf<std::logic_error>([&] { view.begin(context(), ShaderConfiguration::Vertex, 2); }),
        "Error: end call is missing"
    );
    EXPECT_THAT(boundObjects(context()), ElementsAre("PS shader resource 1"));

    view.end(context());
    EXPECT_THAT(boundObjects(context()), testing::IsEmpty());
}

TEST_F(ShaderResourceViewDevice, EndWithoutBeginThrows)
{
    const Texture2d resource = texture();
    ShaderResourceView view(device(), resource.get(), nullptr);
    const char* const missing = "Error: begin call is missing";

    EXPECT_EQ(messageOf<std::logic_error>([&] { view.end(context()); }), missing);

    view.begin(context(), ShaderConfiguration::Pixel, 1);
    view.end(context());
    EXPECT_EQ(messageOf<std::logic_error>([&] { view.end(context()); }), missing);
}

TEST_F(ShaderResourceViewDevice, BeginWithoutStagesBindsNothing)
{
    const Texture2d resource = texture();
    ShaderResourceView view(device(), resource.get(), nullptr);

    view.begin(context(), ShaderConfiguration{}, 1);

    EXPECT_THAT(boundObjects(context()), testing::IsEmpty());
    EXPECT_EQ(messageOf<std::logic_error>([&] { view.end(context()); }), "Error: begin call is missing");
}

TEST_F(ShaderResourceViewDevice, ADescriptorChoosesFormatAndLevels)
{
    const Texture2d resource(
        device(),
        textureDesc(4, 4, DXGI_FORMAT_R32_TYPELESS, D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_SHADER_RESOURCE)
    );
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{};
    desc.Format = DXGI_FORMAT_R32_FLOAT;
    desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE2D;
    desc.Texture2D.MipLevels = 1;

    const ShaderResourceView view(device(), resource.get(), &desc);

    D3D11_SHADER_RESOURCE_VIEW_DESC made{};
    view.get()->GetDesc(&made);
    EXPECT_EQ(made.Format, DXGI_FORMAT_R32_FLOAT);
    EXPECT_EQ(made.Texture2D.MipLevels, 1U);
}

TEST_F(ShaderResourceViewDevice, RefusedViewsThrowTheResult)
{
    const Texture2d target(device(), textureDesc(4, 4, kColor, D3D11_BIND_RENDER_TARGET));
    const Texture2d resource = texture();
    D3D11_SHADER_RESOURCE_VIEW_DESC wrongFormat{};
    wrongFormat.Format = DXGI_FORMAT_R32_FLOAT;
    wrongFormat.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE2D;
    wrongFormat.Texture2D.MipLevels = 1;
    D3D11_SHADER_RESOURCE_VIEW_DESC wrongDimension{};
    wrongDimension.Format = kColor;
    wrongDimension.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE3D;
    wrongDimension.Texture3D.MipLevels = 1;

    EXPECT_EQ(resultOf([&] { ShaderResourceView(device(), nullptr, nullptr); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { ShaderResourceView(device(), target.get(), nullptr); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { ShaderResourceView(device(), resource.get(), &wrongFormat); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { ShaderResourceView(device(), resource.get(), &wrongDimension); }), E_INVALIDARG);
}

TEST_F(ShaderResourceViewDevice, MovingTakesViewAndBinding)
{
    const Texture2d resource = texture();
    ShaderResourceView source(device(), resource.get(), nullptr);
    source.begin(context(), ShaderConfiguration::Pixel, 3);
    ID3D11ShaderResourceView* const raw = source.get();

    ShaderResourceView target(std::move(source));

    EXPECT_EQ(target.get(), raw);
    EXPECT_EQ(source.get(), nullptr);  // NOLINT(bugprone-use-after-move): empty is promised
    target.end(context());
    EXPECT_THAT(boundObjects(context()), testing::IsEmpty());
}

TEST_F(ShaderResourceViewDevice, DestructionDoesNotUnbind)
{
    const Texture2d resource = texture();
    {
        ShaderResourceView view(device(), resource.get(), nullptr);
        view.begin(context(), ShaderConfiguration::Pixel, 3);
    }

    EXPECT_THAT(boundObjects(context()), ElementsAre("PS shader resource 3"));
}

TEST_F(SamplerStateDevice, BeginBindsTheStagesInOrderAndEndUnbindsThem)
{
    SamplerState sampler(device(), desc());
    CheckedContext checked(context());
    checked.name(sampler.get(), "sampler");

    sampler.begin(&checked, kAllStages, 2);
    sampler.end(&checked);

    EXPECT_THAT(
        checked.calls(),
        ElementsAre(
            "VSSetSamplers 2 sampler",
            "PSSetSamplers 2 sampler",
            "GSSetSamplers 2 sampler",
            "CSSetSamplers 2 sampler",
            "VSSetSamplers 2 null",
            "PSSetSamplers 2 null",
            "GSSetSamplers 2 null",
            "CSSetSamplers 2 null"
        )
    );
    EXPECT_THAT(boundObjects(context()), testing::IsEmpty());
}

TEST_F(SamplerStateDevice, BeginAndEndComeInPairs)
{
    SamplerState sampler(device(), desc());

    EXPECT_EQ(messageOf<std::logic_error>([&] { sampler.end(context()); }), "Error: begin call is missing");
    sampler.begin(context(), ShaderConfiguration::Pixel, 0);
    EXPECT_EQ(
        messageOf<std::logic_error>([&] { sampler.begin(context(), ShaderConfiguration::Pixel, 1); }),
        "Error: end call is missing"
    );
    EXPECT_THAT(boundObjects(context()), ElementsAre("PS sampler 0"));
}

TEST_F(SamplerStateDevice, ACopySharesTheSamplerAndItsBinding)
{
    SamplerState original(device(), desc());
    original.begin(context(), ShaderConfiguration::Pixel, 4);
    const ULONG before = referenceCount(original.get());

    SamplerState copy(original);

    EXPECT_EQ(copy.get(), original.get());
    EXPECT_EQ(referenceCount(original.get()), before + 1);
    copy.end(context());
    EXPECT_THAT(boundObjects(context()), testing::IsEmpty());
    original.end(context());  // has a binding of its own
}

TEST_F(SamplerStateDevice, AMoveBetweenCopiesTakesTheBindingOnly)
{
    SamplerState original(device(), desc());
    SamplerState copy(original);
    copy.begin(context(), ShaderConfiguration::Vertex, 1);

    original = std::move(copy);

    EXPECT_NE(original.get(), nullptr);
    EXPECT_EQ(copy.get(), original.get());  // NOLINT(bugprone-use-after-move): both own the same sampler
    original.end(context());
    EXPECT_THAT(boundObjects(context()), testing::IsEmpty());
}
