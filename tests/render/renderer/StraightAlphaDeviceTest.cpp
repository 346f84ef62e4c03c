#include "tests/render/renderer/RendererFixture.h"

#include <gtest/gtest.h>

namespace Render
{
namespace
{
using Math::Color;

class StraightAlpha : public RendererFixture
{
protected:
    /// A surface on the left half of the picture; see-through ones show `color` with its alpha.
    void showHalf(const Color& color, bool transparent = false)
    {
        show(rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 0.0F, color), transparent);
    }

    Color surface() { return shownAt(1, 2); }

    Color background() { return shownAt(6, 2); }
};
}  // namespace

TEST_F(StraightAlpha, IsOffAtFirstWhenABackgroundIsOpaque)
{
    EXPECT_FALSE(mRenderer->hasTransparentBackground());
    mRenderer->setBackgroundColor(10, 20, 30, 0);

    showHalf(Color(200, 100, 50, 255));

    EXPECT_EQ(background(), Color(10, 20, 30, 255));
}

TEST_F(StraightAlpha, GivesTheBackgroundItsOwnAlpha)
{
    mRenderer->setBackgroundColor(10, 20, 30, 64);
    mRenderer->setTransparentBackground(true);

    showHalf(Color(200, 100, 50, 255));

    EXPECT_EQ(background(), Color(10, 20, 30, 64));
    EXPECT_EQ(surface(), Color(200, 100, 50, 255));
}

TEST_F(StraightAlpha, IsMultipliedByTheOpacity)
{
    mRenderer->setBackgroundColor(10, 20, 30, 100);
    mRenderer->setOpacity(0.5F);
    mRenderer->setTransparentBackground(true);

    showHalf(Color(200, 100, 50, 255));

    expectColor(background(), Color(10, 20, 30, 50));
    expectColor(surface(), Color(200, 100, 50, 128));
}

TEST_F(StraightAlpha, GoesWithTheConventionalDepthBuffer)
{
    mRenderer = pixelRenderer(false);
    mRenderer->setBackgroundColor(10, 20, 30, 0);
    mRenderer->setTransparentBackground(true);

    showHalf(Color(200, 100, 50, 255));

    EXPECT_EQ(background(), Color(10, 20, 30, 0));
    EXPECT_EQ(surface(), Color(200, 100, 50, 255));
}

TEST_F(StraightAlpha, OfTomographicModesIsWhatPointsCover)
{
    mRenderer->setBackgroundColor(0, 0, 0, 0);
    mRenderer->setTransparentBackground(true);

    mRenderer->setRenderMode(RenderMode::TomographicBright);
    showHalf(Color(255, 255, 255, 102), true);  // covers 0.4
    expectColor(surface(), Color(255, 255, 255, 102));
    expectColor(background(), Color(0, 0, 0, 0));

    mRenderer->setRenderMode(RenderMode::TomographicDark);
    mRenderer->render();
    expectColor(surface(), Color(0, 0, 0, 102));
    expectColor(background(), Color(255, 255, 255, 0));
}

TEST_F(StraightAlpha, OfTomographicModesMixesCoverageAndBackground)
{
    mRenderer->setBackgroundColor(51, 0, 102, 128);
    mRenderer->setRenderMode(RenderMode::TomographicBright);
    mRenderer->setTransparentBackground(true);

    showHalf(Color(255, 255, 255, 102), true);

    // 0.4 white over a background that covers 0.502: together 0.7012, of which white is 0.5704
    expectColor(surface(), Color(167, 145, 189, 179));
    expectColor(background(), Color(51, 0, 102, 128));
}

TEST_F(StraightAlpha, OfTomographicModesOnAnOpaqueBackgroundIsOpaque)
{
    mRenderer->setBackgroundColor(0, 0, 0, 255);
    mRenderer->setRenderMode(RenderMode::TomographicBright);
    mRenderer->setTransparentBackground(true);

    showHalf(Color(255, 255, 255, 102), true);

    expectColor(surface(), Color(102, 102, 102, 255));
    EXPECT_EQ(background(), Color(0, 0, 0, 255));
}

TEST_F(StraightAlpha, GoesWithEyeDomeLighting)
{
    mRenderer->setBackgroundColor(10, 20, 30, 0);
    mRenderer->setTransparentBackground(true);
    mRenderer->setEyeDomeLighting({1.0F, 1.0F});

    show(
        rectangle(-4.0F, 2.0F, -3.0F, 3.0F, -5.0F, Color(200, 100, 50, 255)) +
        rectangle(-4.0F, 0.0F, -3.0F, 3.0F, 0.0F, Color(200, 100, 50, 255))
    );

    EXPECT_EQ(background(), Color(10, 20, 30, 0));
    EXPECT_LT(int{shownAt(4, 2).r()}, 20);
    EXPECT_EQ(shownAt(4, 2).a(), 255);
}

TEST_F(StraightAlpha, AsksForARedrawOnlyWhenItChanges)
{
    showHalf(Color(200, 100, 50, 255));

    mRenderer->setTransparentBackground(true);
    EXPECT_TRUE(mRenderer->needsRedraw());
    mRenderer->render();
    mRenderer->setTransparentBackground(true);
    EXPECT_FALSE(mRenderer->needsRedraw());
}
}  // namespace Render
