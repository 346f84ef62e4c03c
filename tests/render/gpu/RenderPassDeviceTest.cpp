#include "math/Color.h"
#include "render/gpu/RenderPass.h"
#include "render/gpu/setDebugName.h"
#include "tests/render/gpu/resultOf.h"
#include "tests/support/CheckedContext.h"
#include "tests/support/DeviceFixture.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using Math::Color;
using Render::CComPtr;
using Render::RenderPass;
using Render::ShaderConfiguration;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr DXGI_FORMAT kColor = DXGI_FORMAT_B8G8R8A8_UNORM;
constexpr DXGI_FORMAT kFloat4 = DXGI_FORMAT_R32G32B32A32_FLOAT;

D3D11_TEXTURE2D_DESC descOf(const Render::Texture2d& texture)
{
    D3D11_TEXTURE2D_DESC desc{};
    texture.get()->GetDesc(&desc);
    return desc;
}

std::string debugNameOf(ID3D11DeviceChild* object)
{
    std::string name(100, '\0');
    auto size = static_cast<UINT>(name.size());
    const bool hasName = SUCCEEDED(object->GetPrivateData(Render::kDebugObjectName, &size, name.data()));
    name.resize(hasName ? size : 0);
    return name;
}

class RenderPassDevice : public DeviceFixture
{
public:
    /// Targets "color" and "position" and a depth buffer.
    RenderPass fullPass(unsigned int width = 17, unsigned int height = 5)
    {
        RenderPass pass(device(), width, height);
        pass.addRenderTarget("color", kColor);
        pass.addRenderTarget("position", kFloat4);
        pass.addDepthBuffer(D3D11_CLEAR_DEPTH, 0.5f, 0);
        return pass;
    }

    /// The texture in an output slot; null where there is none.
    static CComPtr<ID3D11Resource> targetTexture(UINT slot)
    {
        std::vector<ID3D11RenderTargetView*> views(slot + 1, nullptr);
        context()->OMGetRenderTargets(slot + 1, views.data(), nullptr);
        CComPtr<ID3D11Resource> texture;
        for (ID3D11RenderTargetView* const view : views)
        {
            CComPtr<ID3D11RenderTargetView> owner;
            owner.attach(view);
            texture.release();
            if (view != nullptr)
            {
                view->GetResource(texture.put());
            }
        }
        return texture;
    }

    /// The texture that the pixel stage reads at a slot; null where there is none.
    static CComPtr<ID3D11Resource> readTexture(UINT slot)
    {
        CComPtr<ID3D11ShaderResourceView> view;
        context()->PSGetShaderResources(slot, 1, view.put());
        CComPtr<ID3D11Resource> texture;
        if (view != nullptr)
        {
            view->GetResource(texture.put());
        }
        return texture;
    }
};

const char* const kBeginMissing = "Error: begin call is missing";
const char* const kEndMissing = "Error: end call is missing";

}  // namespace

TEST_F(RenderPassDevice, TargetsAreNumberedInOrder)

{
    RenderPass pass(device(), 4, 4);

    EXPECT_EQ(pass.addRenderTarget("first", kColor), 0U);
    EXPECT_EQ(pass.addRenderTarget("second", kFloat4), 1U);
    EXPECT_EQ(pass.addRenderTarget("third", kFloat4), 2U);

    CheckedContext watch(context());
    pass.begin(&watch);
    EXPECT_EQ(targetTexture(0).get(), pass.texture("first").get());
    EXPECT_EQ(targetTexture(1).get(), pass.texture("second").get());
    EXPECT_EQ(targetTexture(2).get(), pass.texture("third").get());
}

TEST_F(RenderPassDevice, AFormatAloneMakesAFullChainOfThePassesSize)
{
    RenderPass pass(device(), 17, 5);
    pass.addRenderTarget("color", kColor);

    const D3D11_TEXTURE2D_DESC desc = descOf(pass.texture("color"));
    EXPECT_EQ(desc.Width, 17U);
    EXPECT_EQ(desc.Height, 5U);
    EXPECT_EQ(desc.MipLevels, 5U);  // 17, 8, 4, 2, 1
    EXPECT_EQ(desc.ArraySize, 1U);
    EXPECT_EQ(desc.Format, kColor);
    EXPECT_EQ(desc.SampleDesc.Count, 1U);
    EXPECT_EQ(desc.BindFlags, 0x28U);
}

TEST_F(RenderPassDevice, ADescriptorKeepsWhatThePassDoesNotDecide)
{
    RenderPass pass(device(), 16, 8);
    D3D11_TEXTURE2D_DESC wanted = textureDesc(999, 999, kColor, D3D11_BIND_DEPTH_STENCIL);
    wanted.ArraySize = 7;
    wanted.SampleDesc.Count = 4;
    wanted.MipLevels = 2;
    wanted.MiscFlags = D3D11_RESOURCE_MISC_GENERATE_MIPS;

    pass.addRenderTarget("color", wanted);

    const D3D11_TEXTURE2D_DESC desc = descOf(pass.texture("color"));
    EXPECT_EQ(desc.Width, 16U);
    EXPECT_EQ(desc.Height, 8U);
    EXPECT_EQ(desc.ArraySize, 1U);
    EXPECT_EQ(desc.SampleDesc.Count, 1U);
    EXPECT_EQ(desc.BindFlags, 0x28U);
    EXPECT_EQ(desc.MipLevels, 2U);
    EXPECT_EQ(desc.MiscFlags, wanted.MiscFlags);
}

TEST_F(RenderPassDevice, TheDepthBufferIsAFullChainOfTypelessFloats)
{
    RenderPass pass(device(), 17, 5);
    pass.addDepthBuffer(D3D11_CLEAR_DEPTH, 0.0f, 0);

    const D3D11_TEXTURE2D_DESC desc = descOf(pass.depthTexture());
    EXPECT_EQ(desc.Width, 17U);
    EXPECT_EQ(desc.Height, 5U);
    EXPECT_EQ(desc.MipLevels, 5U);
    EXPECT_EQ(desc.Format, DXGI_FORMAT_R32_TYPELESS);
    EXPECT_EQ(desc.BindFlags, 0x48U);
}

TEST_F(RenderPassDevice, BeginSetsTargetsAndDepthAndEndUnsetsAsMany)
{
    RenderPass pass = fullPass();
    pass.addRenderTarget("third", kFloat4);
    CheckedContext watch(context());

    pass.begin(&watch);
    EXPECT_THAT(boundObjects(context()), ElementsAre("target 0", "target 1", "target 2", "depth view"));

    pass.end(&watch);
    EXPECT_THAT(boundObjects(context()), IsEmpty());
    EXPECT_THAT(
        watch.calls(), ElementsAre("OMSetRenderTargets 3 ? ? ? ?", "OMSetRenderTargets 3 null null null null")
    );
}

TEST_F(RenderPassDevice, WithoutDepthBufferNoneIsSet)
{
    RenderPass pass(device(), 4, 4);
    pass.addRenderTarget("color", kColor);

    pass.begin(context());

    EXPECT_THAT(boundObjects(context()), ElementsAre("target 0"));
}

TEST_F(RenderPassDevice, APassOfDepthAloneHasNoTargets)
{
    RenderPass pass(device(), 4, 4);
    pass.addDepthBuffer(D3D11_CLEAR_DEPTH, 0.0f, 0);
    CheckedContext watch(context());

    pass.begin(&watch);
    EXPECT_THAT(boundObjects(context()), ElementsAre("depth view"));
    pass.end(&watch);
    EXPECT_THAT(boundObjects(context()), IsEmpty());
}

TEST_F(RenderPassDevice, TargetsAreClearedToZeroAtFirst)
{
    RenderPass pass = fullPass();
    pass.setClearValue("color", 1.0f, 1.0f, 1.0f, 1.0f);
    pass.setClearValue("color", 0.0f, 0.0f, 0.0f, 0.0f);

    pass.clearAllRenderTargets(context(), false);

    EXPECT_THAT(readBack<Color>(pass.texture("color")).texels, Each(Color()));
    EXPECT_THAT(readBack<Float4>(pass.texture("position")).texels, Each(Float4{}));
}

TEST_F(RenderPassDevice, ClearTouchesOneTarget)
{
    RenderPass pass = fullPass();
    pass.clearAllRenderTargets(context(), true);
    pass.setClearValue("color", Color(1, 2, 3, 4));
    pass.setClearValue("position", 1.0f, 2.0f, 3.0f, 4.0f);

    pass.clear(context(), "position");

    EXPECT_THAT(readBack<Color>(pass.texture("color")).texels, Each(Color()));
    EXPECT_THAT(readBack<Float4>(pass.texture("position")).texels, Each(Float4{1.0f, 2.0f, 3.0f, 4.0f}));
}

TEST_F(RenderPassDevice, ClearAllGivesEachTargetItsOwnValue)
{
    RenderPass pass = fullPass();
    pass.setClearValue("color", Color(10, 20, 30, 40));
    pass.setClearValue("position", 1.0f, 2.0f, 3.0f, 4.0f);

    pass.clearAllRenderTargets(context(), true);

    EXPECT_THAT(readBack<Color>(pass.texture("color")).texels, Each(Color(10, 20, 30, 40)));
    EXPECT_THAT(readBack<Float4>(pass.texture("position")).texels, Each(Float4{1.0f, 2.0f, 3.0f, 4.0f}));
    EXPECT_THAT(readBack<float>(pass.depthTexture()).texels, Each(0.5f));
}

TEST_F(RenderPassDevice, ClearAllWithoutDepthLeavesTheDepthBuffer)
{
    RenderPass pass = fullPass();
    pass.clearAllRenderTargets(context(), true);
    pass.setDepthStencilClearValues(D3D11_CLEAR_DEPTH, 0.25f, 0);

    pass.clearAllRenderTargets(context(), false);
    EXPECT_THAT(readBack<float>(pass.depthTexture()).texels, Each(0.5f));

    pass.clearAllRenderTargets(context(), true);
    EXPECT_THAT(readBack<float>(pass.depthTexture()).texels, Each(0.25f));
}

TEST_F(RenderPassDevice, ClearAllWithDepthNeedsNoDepthBuffer)
{
    RenderPass pass(device(), 4, 4);
    pass.addRenderTarget("color", kColor);

    EXPECT_NO_THROW(pass.clearAllRenderTargets(context(), true));
}

TEST_F(RenderPassDevice, TexturesAreBoundAndUnboundByName)
{
    RenderPass pass = fullPass();
    CheckedContext watch(context());

    pass.bindTexture(&watch, "color", ShaderConfiguration::Pixel, 0);
    pass.bindTexture(&watch, "position", ShaderConfiguration::Pixel, 2);
    pass.bindDepthTexture(&watch, ShaderConfiguration::Pixel, 5);
    EXPECT_EQ(readTexture(0).get(), pass.texture("color").get());
    EXPECT_EQ(readTexture(1).get(), nullptr);
    EXPECT_EQ(readTexture(2).get(), pass.texture("position").get());
    EXPECT_EQ(readTexture(5).get(), pass.depthTexture().get());

    pass.unbindTexture(&watch, "color");
    pass.unbindDepthTexture(&watch);
    EXPECT_THAT(boundObjects(context()), ElementsAre("PS shader resource 2"));
}

TEST_F(RenderPassDevice, BindingsComeInPairs)
{
    RenderPass pass = fullPass();
    const auto bind = [&] { pass.bindTexture(context(), "color", ShaderConfiguration::Pixel, 0); };
    const auto unbind = [&] { pass.unbindTexture(context(), "color"); };
    const auto bindDepth = [&] { pass.bindDepthTexture(context(), ShaderConfiguration::Pixel, 1); };
    const auto unbindDepth = [&] { pass.unbindDepthTexture(context()); };

    EXPECT_EQ(messageOf<std::logic_error>(unbind), kBeginMissing);
    EXPECT_EQ(messageOf<std::logic_error>(unbindDepth), kBeginMissing);
    bind();
    bindDepth();
    EXPECT_EQ(messageOf<std::logic_error>(bind), kEndMissing);
    EXPECT_EQ(messageOf<std::logic_error>(bindDepth), kEndMissing);
    unbind();
    unbindDepth();
    EXPECT_THAT(boundObjects(context()), IsEmpty());
}

TEST_F(RenderPassDevice, TheDepthTextureIsReadAsOneLevelOfFloats)
{
    RenderPass pass = fullPass();
    pass.bindDepthTexture(context(), ShaderConfiguration::Pixel, 0);

    CComPtr<ID3D11ShaderResourceView> view;
    context()->PSGetShaderResources(0, 1, view.put());
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{};
    view->GetDesc(&desc);
    EXPECT_EQ(desc.Format, DXGI_FORMAT_R32_FLOAT);
    EXPECT_EQ(desc.ViewDimension, D3D11_SRV_DIMENSION_TEXTURE2D);
    EXPECT_EQ(desc.Texture2D.MostDetailedMip, 0U);
    EXPECT_EQ(desc.Texture2D.MipLevels, 1U);
}

TEST_F(RenderPassDevice, SetViewportResizesEveryTexture)
{
    RenderPass pass = fullPass();

    pass.setViewport(33, 9);

    for (const Render::Texture2d* texture :
         {&pass.texture("color"), &pass.texture("position"), &pass.depthTexture()})
    {
        EXPECT_EQ(descOf(*texture).Width, 33U);
        EXPECT_EQ(descOf(*texture).Height, 9U);
        EXPECT_EQ(descOf(*texture).MipLevels, 6U);
    }
    UINT viewports = 0;
    context()->RSGetViewports(&viewports, nullptr);
    EXPECT_EQ(viewports, 0U);
}

TEST_F(RenderPassDevice, SetViewportKeepsSlotsAndClearValues)
{
    RenderPass pass = fullPass();
    pass.setClearValue("color", Color(10, 20, 30, 40));
    pass.setClearValue("position", 1.0f, 2.0f, 3.0f, 4.0f);
    pass.setDepthStencilClearValues(D3D11_CLEAR_DEPTH, 0.125f, 0);

    pass.setViewport(3, 7);
    CheckedContext watch(context());
    pass.begin(&watch);
    pass.clearAllRenderTargets(&watch, true);

    EXPECT_EQ(targetTexture(0).get(), pass.texture("color").get());
    EXPECT_EQ(targetTexture(1).get(), pass.texture("position").get());
    pass.end(&watch);
    EXPECT_THAT(readBack<Color>(pass.texture("color")).texels, Each(Color(10, 20, 30, 40)));
    EXPECT_THAT(readBack<Float4>(pass.texture("position")).texels, Each(Float4{1.0f, 2.0f, 3.0f, 4.0f}));
    EXPECT_THAT(readBack<float>(pass.depthTexture()).texels, Each(0.125f));
}

TEST_F(RenderPassDevice, SetViewportForgetsBindings)
{
    RenderPass pass = fullPass();
    pass.bindTexture(context(), "color", ShaderConfiguration::Pixel, 0);
    pass.bindDepthTexture(context(), ShaderConfiguration::Pixel, 1);

    pass.setViewport(8, 8);

    EXPECT_EQ(messageOf<std::logic_error>([&] { pass.unbindTexture(context(), "color"); }), kBeginMissing);
    EXPECT_EQ(messageOf<std::logic_error>([&] { pass.unbindDepthTexture(context()); }), kBeginMissing);
    pass.bindTexture(context(), "color", ShaderConfiguration::Pixel, 0);
    EXPECT_EQ(readTexture(0).get(), pass.texture("color").get());
    EXPECT_NO_THROW(pass.bindDepthTexture(context(), ShaderConfiguration::Pixel, 1));
}

TEST_F(RenderPassDevice, AFailedSetViewportChangesNothing)
{
    RenderPass pass = fullPass();
    pass.setClearValue("color", Color(10, 20, 30, 40));
    ID3D11Texture2D* const before = pass.texture("color").get();

    EXPECT_EQ(resultOf([&] { pass.setViewport(0, 0); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { pass.setViewport(20000, 4); }), E_INVALIDARG);
    EXPECT_EQ(pass.texture("color").get(), before);
    pass.setViewport(6, 4);

    CheckedContext watch(context());
    pass.begin(&watch);
    pass.clearAllRenderTargets(&watch, true);
    pass.end(&watch);
    const auto texels = readBack<Color>(pass.texture("color"));
    EXPECT_EQ(texels.width, 6U);
    EXPECT_THAT(texels.texels, Each(Color(10, 20, 30, 40)));
    EXPECT_THAT(readBack<float>(pass.depthTexture()).texels, Each(0.5f));
}

TEST_F(RenderPassDevice, ASecondDepthBufferReplacesTheFirst)
{
    RenderPass pass = fullPass();
    pass.bindDepthTexture(context(), ShaderConfiguration::Pixel, 0);

    pass.addDepthBuffer(D3D11_CLEAR_DEPTH, 0.75f, 0);
    context()->ClearState();
    pass.clearAllRenderTargets(context(), true);

    EXPECT_THAT(readBack<float>(pass.depthTexture()).texels, Each(0.75f));
    EXPECT_EQ(messageOf<std::logic_error>([&] { pass.unbindDepthTexture(context()); }), kBeginMissing);
}

TEST_F(RenderPassDevice, ATargetThatCannotBeMadeIsNotAdded)
{
    RenderPass pass(device(), 4, 4);

    EXPECT_EQ(resultOf([&] { pass.addRenderTarget("color", DXGI_FORMAT_UNKNOWN); }), E_INVALIDARG);
    EXPECT_THROW(pass.texture("color"), std::out_of_range);
    EXPECT_EQ(pass.addRenderTarget("color", kColor), 0U);
}

TEST_F(RenderPassDevice, APassWithoutSizeGetsNoTextures)
{
    RenderPass pass(device(), 0, 0);

    EXPECT_EQ(resultOf([&] { pass.addRenderTarget("color", kColor); }), E_INVALIDARG);
    EXPECT_EQ(resultOf([&] { pass.addDepthBuffer(1, 0.0f, 0); }), E_INVALIDARG);
    EXPECT_THROW(pass.texture("color"), std::out_of_range);
    EXPECT_THROW(pass.depthTexture(), std::out_of_range);
}

TEST_F(RenderPassDevice, ANameIsAddedOnce)
{
    RenderPass pass = fullPass();

    EXPECT_THROW(pass.addRenderTarget("color", kFloat4), std::invalid_argument);
    EXPECT_EQ(descOf(pass.texture("color")).Format, kColor);
}

TEST_F(RenderPassDevice, ANinthTargetIsRefused)
{
    RenderPass pass(device(), 4, 4);
    for (int i = 0; i < 8; ++i)
    {
        pass.addRenderTarget(std::to_string(i), kColor);
    }

    EXPECT_THROW(pass.addRenderTarget("9", kColor), std::length_error);
    CheckedContext watch(context());
    pass.begin(&watch);
    pass.end(&watch);
    EXPECT_THAT(boundObjects(context()), IsEmpty());
}

TEST_F(RenderPassDevice, UnknownNamesAreRefused)
{
    RenderPass pass = fullPass();

    EXPECT_EQ(
        messageOf<std::out_of_range>([&] { pass.texture("Color"); }),
        "Error: render pass has no target named Color"
    );
    EXPECT_THROW(pass.clear(context(), "none"), std::out_of_range);
    EXPECT_THROW(pass.setClearValue("none", Color()), std::out_of_range);
    EXPECT_THROW(pass.bindTexture(context(), "none", ShaderConfiguration::Pixel, 0), std::out_of_range);
    EXPECT_THROW(pass.unbindTexture(context(), "none"), std::out_of_range);
}

TEST_F(RenderPassDevice, AMissingDepthBufferIsRefused)
{
    RenderPass pass(device(), 4, 4);

    EXPECT_EQ(
        messageOf<std::out_of_range>([&] { pass.depthTexture(); }), "Error: render pass has no depth buffer"
    );
    EXPECT_THROW(pass.setDepthStencilClearValues(1, 0.0f, 0), std::out_of_range);
    EXPECT_THROW(pass.bindDepthTexture(context(), ShaderConfiguration::Pixel, 0), std::out_of_range);
    EXPECT_THROW(pass.unbindDepthTexture(context()), std::out_of_range);
}

TEST_F(RenderPassDevice, AMovedPassKeepsItsTargets)
{
    RenderPass source = fullPass();
    RenderPass target(nullptr, 640, 480);
    ID3D11Texture2D* const color = source.texture("color").get();

    target = std::move(source);

    CheckedContext watch(context());
    target.begin(&watch);
    EXPECT_EQ(targetTexture(0).get(), color);
    target.end(&watch);
    target.setViewport(4, 4);
    EXPECT_EQ(descOf(target.texture("color")).Width, 4U);
}

TEST_F(RenderPassDevice, InDebugBuildsItsTexturesCarryTheirNamesAlsoInAnotherSize)
{
    RenderPass pass = fullPass();

    pass.setViewport(9, 9);

#if defined(NDEBUG)
    EXPECT_EQ(debugNameOf(pass.texture("color").get()), "");
    EXPECT_EQ(debugNameOf(pass.depthTexture().get()), "");
#else
    EXPECT_EQ(debugNameOf(pass.texture("color").get()), "RenderPass color");
    EXPECT_EQ(debugNameOf(pass.depthTexture().get()), "RenderPass depth");
#endif
}

TEST_F(RenderPassDevice, OnePassWritesWhatTheNextOneReads)
{
    RenderPass first = fullPass(4, 4);
    RenderPass second = fullPass(4, 4);
    CheckedContext watch(context());

    for (int frame = 0; frame < 2; ++frame)
    {
        first.begin(&watch);
        first.clearAllRenderTargets(&watch, true);
        first.end(&watch);
        second.begin(&watch);
        first.bindTexture(&watch, "color", ShaderConfiguration::Pixel, 0);
        first.bindTexture(&watch, "position", ShaderConfiguration::Pixel, 1);
        first.unbindTexture(&watch, "color");
        first.unbindTexture(&watch, "position");
        second.end(&watch);
    }

    EXPECT_THAT(boundObjects(context()), IsEmpty());
}
