#include "apps/cli/CoarsePoints.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <optional>
#include <vector>

using Cli::CoarsePoints;
using Cli::usefulColoring;
using Cli::UsefulColoring;
using Cli::usualIntensities;
using Math::Color;

namespace
{
const Color kWhite(255, 255, 255, 255);

std::vector<Color> greens()
{
    std::vector<Color> colors;
    for (int i = 0; i < 100; ++i)
    {
        colors.emplace_back(
            static_cast<unsigned char>(2 * i),
            static_cast<unsigned char>(150),
            static_cast<unsigned char>(0),
            static_cast<unsigned char>(255)
        );
    }
    return colors;
}
}  // namespace

TEST(CoarsePoints, UsualIntensitiesLeaveOneInAHundredOutAtEitherEnd)
{
    CoarsePoints points;
    points.intensities.resize(1001);
    std::iota(points.intensities.begin(), points.intensities.end(), std::uint16_t{500});

    EXPECT_EQ(usualIntensities(points), (Octree::IntensityRange{510, 1490}));
}

TEST(CoarsePoints, UsualIntensitiesOfMostlyEqualOnesAreAll)
{
    CoarsePoints points;
    points.intensities.assign(1000, 7);
    points.intensities.push_back(9);

    EXPECT_EQ(usualIntensities(points), (Octree::IntensityRange{7, 9}));
    points.intensities.pop_back();
    EXPECT_FALSE(usualIntensities(points));
    EXPECT_FALSE(usualIntensities({}));
}

TEST(CoarsePoints, ColoursThatDifferAreUseful)
{
    EXPECT_EQ(usefulColoring({greens(), {1, 2}}, kWhite), UsefulColoring::Stored);
}

TEST(CoarsePoints, ColoursLikeTheBackgroundAreNot)
{
    std::vector<Color> colors(95, Color(240, 250, 245, 255));
    colors.resize(100, Color(0, 0, 0, 255));

    EXPECT_EQ(usefulColoring({colors, {1, 2}}, kWhite), UsefulColoring::Intensity);
    EXPECT_EQ(usefulColoring({colors, {2, 2}}, kWhite), UsefulColoring::Height);
}

TEST(CoarsePoints, ColoursThatAreAllAlikeAreNot)
{
    const std::vector<Color> black(100, Color(0, 0, 0, 255));

    EXPECT_EQ(usefulColoring({black, {3, 4}}, kWhite), UsefulColoring::Intensity);
    EXPECT_EQ(usefulColoring({black, {}}, kWhite), UsefulColoring::Height);
}

TEST(CoarsePoints, WithoutColoursIntensitiesServeAndWithoutThoseTheHeight)
{
    EXPECT_EQ(usefulColoring({{}, {3, 4}}, kWhite), UsefulColoring::Stored);
    EXPECT_EQ(usefulColoring({{}, {3, 3}}, kWhite), UsefulColoring::Height);
    EXPECT_EQ(usefulColoring({{}, {}}, kWhite), UsefulColoring::Height);
}

TEST(CoarsePoints, ScatteredPointsAreLargeEnoughToMeetOnTheirDeepestLevel)
{
    CoarsePoints points;
    points.count = 100;  // over 1000 by 400 units: 63.2456 units apart
    points.deepestLevel = 3;
    const Math::NBoundingBox<float, 3> box({0.0F, 0.0F, 0.0F}, {1000.0F, 7.0F, 400.0F});

    const std::optional<double> size = Cli::sizeOfSparsePoints(points, box, 20.0);
    ASSERT_TRUE(size);
    EXPECT_NEAR(*size, 63.245553 * 1.5 * 8.0, 1e-3);
    EXPECT_FALSE(Cli::sizeOfSparsePoints(points, box, 150.0)) << "as large by themselves";
    points.areAll = false;
    EXPECT_FALSE(Cli::sizeOfSparsePoints(points, box, 20.0)) << "nothing is known of the others";
    EXPECT_FALSE(Cli::sizeOfSparsePoints({}, box, 20.0)) << "no points";
}
