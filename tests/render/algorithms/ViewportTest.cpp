#include "render/scene/Viewport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace Render
{
TEST(Viewport, DefaultsTo640By480AtTheOriginWithTheFullDepthRange)
{
    const Viewport viewport;

    EXPECT_EQ(viewport.x(), 0);
    EXPECT_EQ(viewport.y(), 0);
    EXPECT_EQ(viewport.width(), 640U);
    EXPECT_EQ(viewport.height(), 480U);
    EXPECT_EQ(viewport.minDepth(), 0.0F);
    EXPECT_EQ(viewport.maxDepth(), 1.0F);
}

TEST(Viewport, ConstructorWithASizeStartsAtTheOrigin)
{
    const Viewport viewport(1920, 1080);

    EXPECT_EQ(viewport, Viewport(0, 0, 1920, 1080));
    EXPECT_EQ(viewport.maxDepth(), 1.0F);
}

TEST(Viewport, ConstructorWithAPositionKeepsNegativeCoordinates)
{
    const Viewport viewport(-3, -4, 10, 20);

    EXPECT_EQ(viewport.x(), -3);
    EXPECT_EQ(viewport.y(), -4);
    EXPECT_EQ(viewport.width(), 10U);
    EXPECT_EQ(viewport.height(), 20U);
}

TEST(Viewport, SettingTheSizeMovesItToTheOriginAndKeepsTheDepthRange)
{
    Viewport viewport(5, 6, 7, 8);
    viewport.setDepthRange(0.25F, 0.75F);

    viewport.set(100, 200);

    EXPECT_EQ(viewport, Viewport(0, 0, 100, 200));
    EXPECT_EQ(viewport.minDepth(), 0.25F);
    EXPECT_EQ(viewport.maxDepth(), 0.75F);
}

TEST(Viewport, SettingPositionAndSizeKeepsTheDepthRange)
{
    Viewport viewport;
    viewport.setDepthRange(0.25F, 0.75F);

    viewport.set(1, 2, 3, 4);

    EXPECT_EQ(viewport, Viewport(1, 2, 3, 4));
    EXPECT_EQ(viewport.minDepth(), 0.25F);
    EXPECT_EQ(viewport.maxDepth(), 0.75F);
}

TEST(Viewport, EqualityIgnoresTheDepthRange)
{
    Viewport other;
    other.setDepthRange(0.5F, 0.6F);

    EXPECT_TRUE(Viewport() == other);
    EXPECT_FALSE(Viewport() != other);
}

TEST(Viewport, EqualityComparesPositionAndSize)
{
    const Viewport viewport(1, 2, 3, 4);

    EXPECT_NE(viewport, Viewport(9, 2, 3, 4));
    EXPECT_NE(viewport, Viewport(1, 9, 3, 4));
    EXPECT_NE(viewport, Viewport(1, 2, 9, 4));
    EXPECT_NE(viewport, Viewport(1, 2, 3, 9));
}

TEST(Viewport, AspectRatioIsDividedInSinglePrecision)
{
    EXPECT_EQ(Viewport().aspectRatio(), 1.33333337306976318359375);  // the float nearest to 4/3
}

TEST(Viewport, AspectRatioWithoutHeightIsInfinite)
{
    EXPECT_TRUE(std::isinf(Viewport(10, 0).aspectRatio()));
}

TEST(Viewport, IsWrittenAsAListInBrackets)
{
    Viewport viewport(-1, 2, 640, 480);
    viewport.setDepthRange(0.25F, 1.0F);
    std::ostringstream stream;

    stream << viewport;

    EXPECT_EQ(stream.str(), "[-1, 2, 640, 480, 0.25, 1]");
}
}  // namespace Render
