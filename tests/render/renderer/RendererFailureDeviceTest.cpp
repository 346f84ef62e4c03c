#include "render/gpu/DeviceLostException.h"
#include "render/platform/Direct3D.h"
#include "tests/render/renderer/RecordingRenderable.h"
#include "tests/render/renderer/RendererFixture.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <stdexcept>

namespace Render
{
namespace
{
using Math::Color;

constexpr Color kRed{255, 0, 0, 255};

class RendererFailure : public RendererFixture
{
protected:
    CallFaults& rendererFaults() { return faultsOf(mRenderer->device()); }

    /// What render() throws of a lost device, if it does.
    std::optional<long> lossOfAFrame()
    {
        try
        {
            mRenderer->render();
        }
        catch (const DeviceLostException& lost)
        {
            return lost.result();
        }
        return std::nullopt;
    }
};
}  // namespace

TEST_F(RendererFailure, ALostDeviceIsNoticedAfterAFrame)
{
    mRenderer->render();
    EXPECT_EQ(lossOfAFrame(), std::nullopt);

    rendererFaults().loseDevice();

    EXPECT_EQ(lossOfAFrame(), long{CallFaults::kReason});
}

TEST_F(RendererFailure, AReadBackFromALostDeviceSaysSo)
{
    mRenderer->render();
    rendererFaults().loseDevice();
    Graphics::ColorImage image;

    EXPECT_THROW(mRenderer->getColorImage(image), DeviceLostException);
}

TEST_F(RendererFailure, AfterAFailedUploadOfThePostProcessTheNextFrameIsRight)
{
    show(rectangle(-4.0F, 4.0F, -3.0F, 3.0F, 2.0F, kRed));
    mRenderer->setOpacity(0.5F);  // its constants have to be uploaded
    rendererFaults().failAt(1, CallFaults::Kind::OutOfMemory);

    EXPECT_THROW(mRenderer->render(), ComException);
    EXPECT_EQ(rendererFaults().failed(), "Map");
    EXPECT_TRUE(mRenderer->needsRedraw());
    mRenderer->render();

    expectColor(shownAt(3, 3), Color(255, 0, 0, 128));
}

TEST_F(RendererFailure, AResizeThatFailsAtAnyCallChangesNothing)
{
    show(rectangle(-4.0F, 4.0F, -3.0F, 3.0F, 2.0F, kRed));
    rendererFaults().failNone();
    mRenderer->setViewport(9, 7);
    const int calls = rendererFaults().count();
    mRenderer->setViewport(8, 6);
    ASSERT_GE(calls, 6 + 4);  // at least the targets and their copies

    for (int failing = 1; failing <= calls; ++failing)
    {
        rendererFaults().failAt(failing, CallFaults::Kind::OutOfMemory);
        EXPECT_THROW(mRenderer->setViewport(9, 7), ComException) << failing;
        rendererFaults().failNone();

        EXPECT_EQ(mRenderer->viewport(), Viewport(8, 6));
        mRenderer->render();
        EXPECT_EQ(colorImage(*mRenderer).width(), 8U);
        expectColor(shownAt(7, 5), kRed);
    }
}

TEST_F(RendererFailure, TheEndOfARendererDeinitialisesItsScene)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    mRenderer->setScene(scene);
    scene->takeCalls();

    mRenderer.reset();

    EXPECT_EQ(scene->takeCalls(), std::vector<std::string>{"deinit"});
}

TEST_F(RendererFailure, TheEndOfARendererLeavesASceneAloneThatLivesInAnother)
{
    const auto scene = std::make_shared<RecordingRenderable>();
    mRenderer->setScene(scene);
    const auto other = pixelRenderer(true);
    other->setScene(scene);
    scene->takeCalls();

    mRenderer.reset();

    EXPECT_EQ(scene->takeCalls(), std::vector<std::string>{});
}

TEST_F(RendererFailure, DepthRangesThatDirect3DDoesNotKnowAreRefused)
{
    const Eigen::Matrix4f before = mRenderer->projectionMatrix();
    const Eigen::Matrix4f other = 2.0F * before;
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    const std::vector<std::pair<float, float>> ranges{
        {-0.1F, 1.0F}, {0.0F, 1.1F}, {0.6F, 0.5F}, {kNaN, 1.0F}, {0.0F, kNaN}};
    for (const auto& [low, high] : ranges)
    {
        EXPECT_EQ(
            messageOf<std::invalid_argument>([&, low = low, high = high]
                                             { mRenderer->setProjection(other, low, high, true); }),
            "Error: a depth range must lie in 0..1, its minimum not above its maximum"
        );
        EXPECT_EQ(mRenderer->projectionMatrix(), before);
    }
    EXPECT_NO_THROW(mRenderer->setProjection(other, 0.0F, 1.0F, true));
}

TEST(DeviceLostException, NamesTheReason)
{
    EXPECT_STREQ(
        DeviceLostException(DXGI_ERROR_DEVICE_HUNG).what(),
        "The graphics device was lost: it did not answer in time (0x887A0006)"
    );
    EXPECT_STREQ(
        DeviceLostException(E_FAIL).what(),
        "The graphics device was lost: its driver gives another reason (0x80004005)"
    );
    EXPECT_EQ(DeviceLostException(DXGI_ERROR_DEVICE_HUNG).result(), DXGI_ERROR_DEVICE_HUNG);
}
}  // namespace Render
