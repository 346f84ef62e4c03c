#include "render/gpu/throwIfFailed.h"
#include "render/platform/direct3dLibrary.h"
#include "tests/render/renderer/RendererFixture.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace Render
{
namespace
{
using Math::Color;
using testing::HasSubstr;

constexpr Color kRed{255, 0, 0, 255};
constexpr DXGI_FORMAT kPictureFormat = DXGI_FORMAT_B8G8R8A8_UNORM;

/// A host with a device of its own, which the renderer shares.
class RendererSharedDevice : public RendererFixture
{
protected:
    void SetUp() override
    {
        RendererFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        mHostDevice = plain(*device());
        mHostDevice->GetImmediateContext(mHostContext.put());
        mShared = std::make_unique<Renderer>(RendererOptions{.device = mHostDevice});
        mShared->setViewport(8, 6);
        mShared->setBackgroundColor(10, 20, 30, 255);
    }

    void TearDown() override
    {
        mShared.reset();
        RendererFixture::TearDown();
    }

    /// The device that Direct3D has made, below what checks its calls.
    static ID3D11Device* plain(ID3D11Device& checked) { return dynamic_cast<StrictDevice&>(checked).inner(); }

    CComPtr<ID3D11Texture2D> hostTexture(unsigned int width, unsigned int height, DXGI_FORMAT format)
    {
        const D3D11_TEXTURE2D_DESC desc = textureDesc(width, height, format, D3D11_BIND_SHADER_RESOURCE);
        CComPtr<ID3D11Texture2D> texture;
        throwIfFailed(mHostDevice->CreateTexture2D(&desc, nullptr, texture.put()));
        return texture;
    }

    CComPtr<ID3D11Device> mHostDevice;
    CComPtr<ID3D11DeviceContext> mHostContext;
    std::unique_ptr<Renderer> mShared;
};

TEST_F(RendererSharedDevice, DrawsWithTheDeviceOfTheHost)
{
    EXPECT_EQ(plain(*mShared->device()), mHostDevice.get());

    mShared->render();

    EXPECT_EQ(colorImage(*mShared).pixel(3, 2), Color(10, 20, 30, 255));
}

TEST_F(RendererSharedDevice, TwoRenderersShareADevice)
{
    Renderer other(RendererOptions{.device = mHostDevice});
    other.setViewport(4, 4);
    other.setBackgroundColor(200, 100, 0, 255);

    mShared->render();
    other.render();

    EXPECT_EQ(colorImage(*mShared).pixel(3, 2), Color(10, 20, 30, 255));
    EXPECT_EQ(colorImage(other).pixel(3, 2), Color(200, 100, 0, 255));
}

TEST_F(RendererSharedDevice, WhatTheHostHasBoundDoesNotReachThePicture)
{
    const auto shown = std::make_shared<TriangleRenderable>(rectangle(-4.0F, 4.0F, -3.0F, 3.0F, 0.0F, kRed));
    mShared->setOrthographic(8.0F, 6.0F, -10.0F, 10.0F);
    mShared->setScene(shown);
    mHostContext->RSSetState(nullptr);
    D3D11_DEPTH_STENCIL_DESC never{};
    never.DepthEnable = TRUE;
    never.DepthFunc = D3D11_COMPARISON_NEVER;
    CComPtr<ID3D11DepthStencilState> state;
    throwIfFailed(mHostDevice->CreateDepthStencilState(&never, state.put()));
    mHostContext->OMSetDepthStencilState(state, 0);
    D3D11_QUERY_DESC predicate{D3D11_QUERY_OCCLUSION_PREDICATE, 0};
    CComPtr<ID3D11Predicate> nothingSeen;
    throwIfFailed(mHostDevice->CreatePredicate(&predicate, nothingSeen.put()));
    mHostContext->Begin(nothingSeen);
    mHostContext->End(nothingSeen);
    mHostContext->SetPredication(nothingSeen, FALSE);

    mShared->render();

    EXPECT_EQ(colorImage(*mShared).pixel(3, 2), kRed);
    mShared->setScene(nullptr);
}

TEST_F(RendererSharedDevice, TheOutputTextureHoldsThePicture)
{
    mShared->render();

    const TexelGrid<Color> picture = readBack<Color>(mShared->outputTexture());

    EXPECT_EQ(picture.width, 8U);
    EXPECT_EQ(picture.height, 6U);
    EXPECT_EQ(picture.at(7, 5), Color(10, 20, 30, 255));
    CComPtr<ID3D11Resource> viewed;
    mShared->outputView()->GetResource(viewed.put());
    EXPECT_EQ(viewed.get(), mShared->outputTexture());
}

TEST_F(RendererSharedDevice, ThePictureIsCopiedIntoATextureOfTheHost)
{
    const CComPtr<ID3D11Texture2D> target = hostTexture(8, 6, kPictureFormat);
    mShared->render();

    mShared->copyOutputTo(target);

    const TexelGrid<Color> picture = readBack<Color>(target.get());
    EXPECT_EQ(picture.at(0, 0), Color(10, 20, 30, 255));
    EXPECT_EQ(picture.at(7, 5), Color(10, 20, 30, 255));
}

TEST_F(RendererSharedDevice, ATextureOfAnotherSizeIsRefusedWithBothSizes)
{
    const CComPtr<ID3D11Texture2D> target = hostTexture(9, 6, kPictureFormat);

    EXPECT_THAT(
        messageOf<std::invalid_argument>([&] { mShared->copyOutputTo(target); }),
        testing::AllOf(HasSubstr("8 x 6"), HasSubstr("9 x 6"))
    );
}

TEST_F(RendererSharedDevice, ATextureOfAnotherFormatIsRefused)
{
    const CComPtr<ID3D11Texture2D> target = hostTexture(8, 6, DXGI_FORMAT_R8G8B8A8_UNORM);

    EXPECT_THAT(
        messageOf<std::invalid_argument>([&] { mShared->copyOutputTo(target); }),
        HasSubstr("DXGI_FORMAT_B8G8R8A8")
    );
}

TEST_F(RendererSharedDevice, ATextureOfAnotherDeviceIsRefused)
{
    const CComPtr<ID3D11Texture2D> target = hostTexture(8, 6, kPictureFormat);

    EXPECT_THROW(mRenderer->copyOutputTo(target), std::invalid_argument);
    EXPECT_THROW(mRenderer->copyOutputTo(nullptr), std::invalid_argument);
}

TEST_F(RendererSharedDevice, ADeviceForASingleThreadIsRefused)
{
    CComPtr<ID3D11Device> single;
    CComPtr<ID3D11DeviceContext> context;
    throwIfFailed(Direct3DLibrary::createDevice(
        nullptr, D3D11_CREATE_DEVICE_SINGLETHREADED, single.put(), context.put()
    ));

    EXPECT_THAT(
        messageOf<std::invalid_argument>([&] { Renderer renderer(RendererOptions{.device = single}); }),
        HasSubstr("D3D11_CREATE_DEVICE_SINGLETHREADED")
    );
}

TEST_F(RendererSharedDevice, TheDebugLayerIsThereOrMissedByName)
{
    try
    {
        const Renderer renderer(RendererOptions{.debugLayer = true});

        CComPtr<ID3D11Debug> debug;
        EXPECT_EQ(plain(*renderer.device())->QueryInterface(IID_PPV_ARGS(debug.put())), S_OK);
    }
    catch (const std::runtime_error& error)
    {
        EXPECT_THAT(error.what(), HasSubstr("there is no debug layer of Direct3D here: "));
    }
}

TEST_F(RendererSharedDevice, TheDebugLayerCannotBeAskedOfADeviceOfTheHost)
{
    EXPECT_THROW(Renderer(RendererOptions{.device = mHostDevice, .debugLayer = true}), std::invalid_argument);
}
}  // namespace
}  // namespace Render
