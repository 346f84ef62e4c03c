#include "render/renderer/Frame.h"
#include "render/renderer/Picking.h"
#include "render/renderer/PointExport.h"
#include "render/renderer/PostProcess.h"
#include "render/renderer/ReadBack.h"
#include "render/renderer/View.h"
#include "tests/render/renderer/RendererFixture.h"
#include "tests/support/CheckedContext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace Render
{
namespace
{
constexpr unsigned int kWidth = 16;
constexpr unsigned int kHeight = 8;
constexpr std::uint32_t kNonsense = 7;

/// A frame of which nothing has been read back yet.
class ReadBackDevice : public DeviceFixture
{
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        if (IsSkipped() || HasFatalFailure())
        {
            return;
        }
        mCamera.setViewport(kWidth, kHeight);
        mFrame = std::make_unique<Frame>(device(), mCamera, 1);
        mReadBack = std::make_unique<ReadBack>(device(), kWidth, kHeight);
    }

    void TearDown() override
    {
        mReadBack.reset();
        mFrame.reset();
        DeviceFixture::TearDown();
    }

    Camera mCamera;
    std::unique_ptr<Frame> mFrame;
    std::unique_ptr<ReadBack> mReadBack;
};

/// How often something is copied, in whatever way.
std::ptrdiff_t copies(const CheckedContext& context)
{
    return std::count_if(
        context.calls().begin(),
        context.calls().end(),
        [](const std::string& call) { return call.starts_with("Copy"); }
    );
}

/// A context whose driver says nothing useful of the depth pitch of two-dimensional textures.
class ContextWithoutDepthPitch : public ForwardingContext
{
public:
    using ForwardingContext::ForwardingContext;

    HRESULT STDMETHODCALLTYPE
    Map(ID3D11Resource* resource,
        UINT subresource,
        D3D11_MAP type,
        UINT flags,
        D3D11_MAPPED_SUBRESOURCE* mapped) override
    {
        const HRESULT result = ForwardingContext::Map(resource, subresource, type, flags, mapped);
        mapped->DepthPitch = kNonsense;
        return result;
    }
};

UINT mipLevels(ID3D11Texture2D* texture)
{
    D3D11_TEXTURE2D_DESC desc{};
    texture->GetDesc(&desc);
    return desc.MipLevels;
}
}  // namespace

TEST_F(ReadBackDevice, AWholeImageDoesNotDependOnTheDepthPitch)
{
    ContextWithoutDepthPitch pitchless(context());
    mFrame->scenePass().clearAllRenderTargets(context(), true);
    Graphics::DepthImage depth;

    copyWhole(
        mReadBack->depth(&pitchless, mFrame->scenePass().depthTexture()).image(), kWidth, kHeight, depth
    );

    EXPECT_EQ(depth.pixel(0, 0), 0.0F);  // the far plane
    EXPECT_EQ(depth.pixel(kWidth - 1, kHeight - 1), 0.0F);
}

TEST_F(ReadBackDevice, PicksAfterOneFrameCopyTheirTargetOnce)
{
    CheckedContext recorded(context());
    const Picking picking(&recorded, mCamera, *mFrame, *mReadBack);
    Math::Point<float, 3> point;
    Math::NPlane<float, 3> plane;

    picking.pickPoint(7, 5, point);
    picking.pickClosestPointWithTolerance(7, 5, 2, point);
    picking.pickPlane(7, 5, 2, plane, point, 0.1);

    EXPECT_EQ(copies(recorded), 1);
}

TEST_F(ReadBackDevice, ChunksAfterOneFrameCopyTheirTargetsOnce)
{
    CheckedContext recorded(context());
    PointExport pointExport;
    std::vector<VertexPosColor> points(4);
    const PointExport::Source source{&recorded, mCamera.viewport(), *mFrame, *mReadBack};

    pointExport.nextChunk(source, points);
    pointExport.nextChunk(source, points);

    EXPECT_EQ(copies(recorded), 2);  // colours and positions
}

TEST_F(ReadBackDevice, AfterANewFrameATargetIsCopiedAnew)
{
    CheckedContext recorded(context());
    const Texture2d& source = mFrame->outputPass().texture("color");
    static_cast<void>(mReadBack->color(&recorded, source));

    mReadBack->forget();
    static_cast<void>(mReadBack->color(&recorded, source));

    EXPECT_EQ(copies(recorded), 2);
}

TEST_F(ReadBackDevice, OnlyMipLevel0ExistsAndIsCopied)
{
    const RenderPass& scene = mFrame->scenePass();
    const RenderPass& output = mFrame->outputPass();
    for (const Texture2d* const texture :
         {&scene.texture("color"),
          &scene.texture("worldPosition"),
          &scene.texture("exactWorldPosition"),
          &scene.depthTexture(),
          &output.texture("color"),
          &output.texture("worldPosition")})
    {
        EXPECT_EQ(mipLevels(texture->get()), 1U);
    }
}

using RendererReadBack = RendererFixture;

TEST_F(RendererReadBack, WhatIsReadAfterAFrameShowsThatFrame)
{
    const auto scene = show(rectangle(-4.0F, 4.0F, -3.0F, 3.0F, 2.0F, Math::Color(255, 0, 0, 255)));
    Math::Point<float, 3> point;
    ASSERT_TRUE(mRenderer->pickPoint(1, 1, point));

    scene->setVisible(false);
    mRenderer->render();

    EXPECT_FALSE(mRenderer->pickPoint(1, 1, point));
}
}  // namespace Render
