#include "render/gpu/MappedResource.h"
#include "render/gpu/Texture2d.h"
#include "render/renderer/Frame.h"
#include "render/renderer/PictureEffects.h"
#include "render/renderer/View.h"
#include "tests/render/renderer/RendererFixture.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Render
{
namespace
{
using Math::Color;

const Color kGrey(200, 100, 50, 255);
const Color kBlue(0, 0, 255, 255);

/// The light that is left, of a value of 200, 100 or 50, when the mean step is this in heights of the picture.
Color darkened(double strength, double meanStep)
{
    const double factor = std::exp(-100.0 * strength * meanStep);
    const auto channel = [factor](int value)
    { return static_cast<unsigned char>(std::lround(factor * value)); };
    return Color(channel(kGrey.r()), channel(kGrey.g()), channel(kGrey.b()), 255);
}

/// Two walls: a far one that fills the picture, and one before its left half, up to column 3.
std::vector<VertexPosColor> twoWalls(float nearZ, float farZ, float reach)
{
    return rectangle(-reach, reach, -reach, reach, farZ, kGrey) +
           rectangle(-reach, 0.0F, -reach, reach, nearZ, kBlue);
}

/// Both depth conventions.
class EyeDome : public RendererFixture, public testing::WithParamInterface<bool>
{
protected:
    void SetUp() override
    {
        RendererFixture::SetUp();
        if (mRenderer)
        {
            mRenderer = pixelRenderer(GetParam());
        }
    }
};

/// A wall of which each column of pixels is half a unit farther away than the one on its left.
std::vector<VertexPosColor> slantedWall()
{
    std::vector<VertexPosColor> corners = rectangle(-4.0F, 4.0F, -3.0F, 3.0F, 0.0F, kGrey);
    for (VertexPosColor& corner : corners)
    {
        corner.position.z = -corner.position.x / 2.0F;
    }
    return corners;
}
}  // namespace

TEST_P(EyeDome, DarkensAParallelViewByTheStepInHeightsOfThePicture)
{
    mRenderer->setEyeDomeLighting({0.05F, 1.0F});
    show(twoWalls(0.0F, -2.0F, 10.0F));

    expectColor(
        shownAt(4, 2), darkened(0.05, 3.0 / 8.0 * 2.0 / 6.0)
    );  // three neighbours stand 2 of 6 before
    expectColor(shownAt(4, 0), darkened(0.05, 2.0 / 8.0 * 2.0 / 6.0));  // the third lies outside the picture
    expectColor(shownAt(5, 2), kGrey);
    expectColor(shownAt(3, 2), kBlue);  // what stands before is not darkened
}

TEST_P(EyeDome, DarkensAPerspectiveByTheRatioOfTheDistances)
{
    mRenderer->setPerspective(90.0F, 1.0F, 100.0F, 0.0F, 0.0F);
    mRenderer->setEyeDomeLighting({0.05F, 1.0F});
    show(twoWalls(-5.0F, -10.0F, 30.0F));

    expectColor(shownAt(4, 2), darkened(0.05, 3.0 / 8.0 * std::log(2.0) / 2.0));
    expectColor(shownAt(4, 5), darkened(0.05, 2.0 / 8.0 * std::log(2.0) / 2.0));
    expectColor(shownAt(6, 2), kGrey);
}

TEST_P(EyeDome, DarkensASlantByWhatTheNeighboursOnOneSideStandBefore)
{
    mRenderer->setEyeDomeLighting({0.1F, 1.0F});
    show(slantedWall());

    const double step = 0.5 / 6.0;
    expectColor(shownAt(3, 2), darkened(0.1, 3.0 / 8.0 * step));
    expectColor(shownAt(0, 2), kGrey);  // its nearer neighbours lie outside
    expectColor(shownAt(7, 5), darkened(0.1, 2.0 / 8.0 * step));
}

TEST_P(EyeDome, TakesItsNeighboursFromTheRadius)
{
    mRenderer->setEyeDomeLighting({0.05F, 2.0F});
    show(twoWalls(0.0F, -2.0F, 10.0F));

    // 2 pixels beside, 1.41 rounded to 1 across: the diagonal ones are the nearest
    expectColor(shownAt(4, 2), darkened(0.05, 3.0 / 8.0 * 2.0 / 6.0));
    expectColor(shownAt(5, 2), darkened(0.05, 1.0 / 8.0 * 2.0 / 6.0));
    expectColor(shownAt(6, 2), kGrey);
}

TEST_P(EyeDome, HeedsTheDepthRangeOfTheViewport)
{
    const Eigen::Matrix4f projection = mRenderer->projectionMatrix();
    mRenderer->setProjection(projection, 0.25F, 0.5F, GetParam());
    mRenderer->setEyeDomeLighting({0.05F, 1.0F});
    show(twoWalls(0.0F, -2.0F, 10.0F));

    expectColor(shownAt(4, 2), darkened(0.05, 3.0 / 8.0 * 2.0 / 6.0));
}

TEST_P(EyeDome, LeavesTheBackgroundAndRimsBeforeItAlone)
{
    mRenderer->setBackgroundColor(10, 20, 30, 255);
    mRenderer->setEyeDomeLighting({1.0F, 1.0F});
    show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 0.0F, kGrey));

    expectColor(shownAt(4, 2), Color(10, 20, 30, 255));
    expectColor(shownAt(3, 2), kGrey);
}

TEST_P(EyeDome, ComesAfterTheRenderMode)
{
    mRenderer->setRenderMode(RenderMode::ColorizeByNormal);
    show(slantedWall());
    const Color normal = shownAt(3, 2);

    mRenderer->setEyeDomeLighting({0.1F, 1.0F});
    mRenderer->render();

    const double factor = std::exp(-100.0 * 0.1 * 3.0 / 8.0 * 0.5 / 6.0);
    EXPECT_NEAR(shownAt(3, 2).g(), factor * normal.g(), kByteRounding);
    EXPECT_NEAR(shownAt(3, 2).b(), factor * normal.b(), kByteRounding);
    EXPECT_GT(int{normal.g()} - int{shownAt(3, 2).g()}, 20);
}

TEST_P(EyeDome, LeavesTheAlphaOfThePicture)
{
    mRenderer->setOpacity(0.5F);
    mRenderer->setEyeDomeLighting({0.05F, 1.0F});
    show(twoWalls(0.0F, -2.0F, 10.0F));

    EXPECT_NEAR(shownAt(4, 2).a(), 127.5, 0.5);  // drivers round either way
    EXPECT_NEAR(shownAt(5, 2).a(), 127.5, 0.5);
}

INSTANTIATE_TEST_SUITE_P(
    Depth,
    EyeDome,
    testing::Bool(),
    [](const auto& parameter) { return parameter.param ? "Reversed" : "Conventional"; }
);

namespace
{
class EyeDomeSetting : public RendererFixture
{
};
}  // namespace

TEST_F(EyeDomeSetting, IsOffAtFirst)
{
    EXPECT_EQ(mRenderer->eyeDomeLighting(), (EyeDomeLighting{0.0F, 1.4F}));
}

TEST_F(EyeDomeSetting, AsksForARedrawOnlyWhenItChanges)
{
    show(slantedWall());

    mRenderer->setEyeDomeLighting({0.5F, 2.0F});
    EXPECT_TRUE(mRenderer->needsRedraw());
    mRenderer->render();
    mRenderer->setEyeDomeLighting({0.5F, 2.0F});
    EXPECT_FALSE(mRenderer->needsRedraw());
}

TEST_F(EyeDomeSetting, SwitchedOffGivesThePictureBackThatWasThere)
{
    show(twoWalls(0.0F, -2.0F, 10.0F));
    mRenderer->setEyeDomeLighting({1.0F, 1.0F});
    mRenderer->render();
    ASSERT_LT(int{shownAt(4, 2).r()}, 50);

    mRenderer->setEyeDomeLighting({});
    EXPECT_LT(int{shownAt(4, 2).r()}, 50) << "the picture of the last frame is still there";
    mRenderer->render();

    expectColor(shownAt(4, 2), kGrey);
}

TEST_F(EyeDomeSetting, FollowsTheSizeOfThePicture)
{
    mRenderer->setEyeDomeLighting({0.05F, 1.0F});
    show(twoWalls(0.0F, -2.0F, 10.0F));

    mRenderer->setViewport(16, 6);
    mRenderer->setOrthographic(16.0F, 6.0F, -10.0F, 10.0F);
    mRenderer->render();

    expectColor(shownAt(8, 2), darkened(0.05, 3.0 / 8.0 * 2.0 / 6.0));
    expectColor(shownAt(4, 2), kBlue);
}

TEST_F(EyeDomeSetting, IsInThePictureOnTheDeviceToo)
{
    mRenderer->setEyeDomeLighting({0.05F, 1.0F});
    show(twoWalls(0.0F, -2.0F, 10.0F));

    D3D11_TEXTURE2D_DESC desc{};
    mRenderer->outputTexture()->GetDesc(&desc);
    desc.Usage = D3D11_USAGE_STAGING;
    desc.BindFlags = 0;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    Texture2d copy(mRenderer->device(), desc, 8, 6);
    mRenderer->deviceContext()->CopyResource(copy.get(), mRenderer->outputTexture());
    const MappedResource mapped(mRenderer->deviceContext(), copy.get(), D3D11_MAP_READ);
    const auto* const row = reinterpret_cast<const Color*>(mapped.data() + 2 * mapped.rowPitch());

    expectColor(row[4], darkened(0.05, 3.0 / 8.0 * 2.0 / 6.0));
}

TEST_F(EyeDomeSetting, LeavesTheColoursOfExportedPoints)
{
    mRenderer->setEyeDomeLighting({1.0F, 1.0F});
    show(
        rectangle(-4.0F, 4.0F, -3.0F, 3.0F, -2.0F, kGrey) + rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 0.0F, kBlue)
    );

    std::vector<VertexPosColor> points;
    mRenderer->getPoints(points);

    ASSERT_EQ(points.size(), 48U);
    EXPECT_EQ(points[4].color, kGrey);
}

TEST_F(EyeDomeSetting, RefusesNumbersThatMakeNoSense)
{
    const std::string expected =
        "Error: strength and radius of eye-dome lighting must be finite and not negative";
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    for (const EyeDomeLighting bad :
         {EyeDomeLighting{-1.0F, 1.0F}, {nan, 1.0F}, {1.0F, -1.0F}, {1.0F, infinity}})
    {
        EXPECT_EQ(messageOf<std::invalid_argument>([&] { mRenderer->setEyeDomeLighting(bad); }), expected);
    }
    EXPECT_EQ(mRenderer->eyeDomeLighting(), EyeDomeLighting{});
}

TEST_F(EyeDomeSetting, ThatIsOffOwnsNoTextures)
{
    View view(true);
    view.camera()->setViewport(16, 8);
    Frame frame(device(), *view.camera(), 1);
    PictureEffects effects;
    const auto passesWithTextures = [&] { return frame.texturesOfSize(16, 8).size(); };

    effects.apply(frame, device(), *view.camera());
    EXPECT_EQ(passesWithTextures(), 2U) << "scene and picture";

    effects.eyeDomeLighting.strength = 1.0F;
    effects.apply(frame, device(), *view.camera());
    effects.apply(frame, device(), *view.camera());
    EXPECT_EQ(passesWithTextures(), 3U);

    effects.eyeDomeLighting.strength = 0.0F;
    effects.apply(frame, device(), *view.camera());
    EXPECT_EQ(passesWithTextures(), 2U);
}
}  // namespace Render
