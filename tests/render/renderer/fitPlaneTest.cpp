#include "render/renderer/fitPlane.h"

#include <Eigen/Geometry>
#include <Eigen/SVD>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>

namespace Render
{
namespace
{
using Point = Math::Point<float, 3>;
using Plane = Math::NPlane<float, 3>;
using Indices = std::vector<std::uint32_t>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// 6 x 6 points of the plane z = 2.
std::vector<Point> flatGrid()
{
    std::vector<Point> points;
    for (int i = 0; i < 36; ++i)
    {
        points.emplace_back(static_cast<float>(i % 6), static_cast<float>(i / 6), 2.0F);
    }
    return points;
}

Indices firstIndices(std::uint32_t count)
{
    Indices indices(count);
    std::iota(indices.begin(), indices.end(), 0U);
    return indices;
}

float unitRandom(std::mt19937& generator)
{
    return static_cast<float>(generator() >> 8U) / 16777216.0F;
}

/// Points near the plane x + 2 y - 2 z = 30, two thirds of them within 0.01 of it, and the rest anywhere.
std::vector<Point> noisyPlane(std::uint32_t seed)
{
    std::mt19937 generator(seed);
    std::vector<Point> points;
    for (int i = 0; i < 300; ++i)
    {
        const float x = 10.0F * unitRandom(generator);
        const float y = 10.0F * unitRandom(generator);
        const float noise =
            (i % 3 == 0) ? 20.0F * unitRandom(generator) - 10.0F : 0.02F * unitRandom(generator) - 0.01F;
        points.emplace_back(x, y, (x + 2.0F * y - 30.0F) / 2.0F + noise);
    }
    return points;
}

/// The answer of a library that computes it another way.
Eigen::Vector3d librarysNormal(const std::vector<Point>& points, const Indices& indices)
{
    Eigen::MatrixX3d rows(static_cast<Eigen::Index>(indices.size()), 3);
    for (std::size_t i = 0; i < indices.size(); ++i)
    {
        const Point& point = points[indices[i]];
        rows.row(static_cast<Eigen::Index>(i)) << double(point.x), double(point.y), double(point.z);
    }
    rows.rowwise() -= rows.colwise().mean().eval();
    return rows.jacobiSvd(Eigen::ComputeFullV).matrixV().col(2);
}

std::uint32_t bits(float value)
{
    return std::bit_cast<std::uint32_t>(value);
}
}  // namespace

TEST(FitPlane, FindsThePointsOfAPlaneAmongOthers)
{
    std::vector<Point> points = flatGrid();
    points.insert(points.begin() + 7, Point(3.0F, 3.0F, 9.0F));
    points.insert(points.begin() + 20, Point(1.0F, 2.0F, -4.0F));

    const Indices inliers = robustPlaneInliers(points, 0.01);

    Indices expected = firstIndices(38);
    std::erase_if(expected, [](std::uint32_t i) { return i == 7 || i == 20; });
    EXPECT_EQ(inliers, expected);
}

TEST(FitPlane, APointAtTheThresholdDoesNotBelong)
{
    std::vector<Point> points = flatGrid();
    points.emplace_back(2.5F, 2.5F, 2.25F);

    EXPECT_EQ(robustPlaneInliers(points, 0.25), firstIndices(36));
    EXPECT_EQ(robustPlaneInliers(points, 0.2501), firstIndices(37));
}

TEST(FitPlane, TheSignOfTheThresholdDoesNotMatter)
{
    EXPECT_EQ(robustPlaneInliers(flatGrid(), -0.01), firstIndices(36));
}

TEST(FitPlane, AThresholdOfZeroOrNoNumberLeavesNoPoints)
{
    EXPECT_TRUE(robustPlaneInliers(flatGrid(), 0.0).empty());
    EXPECT_TRUE(robustPlaneInliers(flatGrid(), std::numeric_limits<double>::quiet_NaN()).empty());
}

TEST(FitPlane, AnInfiniteThresholdTakesAllPoints)
{
    EXPECT_EQ(robustPlaneInliers(noisyPlane(1), std::numeric_limits<double>::infinity()), firstIndices(300));
}

TEST(FitPlane, FewerThanThreePointsHaveNoPlane)
{
    const std::vector<Point> points{{0.0F, 0.0F, 0.0F}, {1.0F, 0.0F, 0.0F}};

    EXPECT_TRUE(robustPlaneInliers(points, 1.0).empty());
    EXPECT_TRUE(robustPlaneInliers({}, 1.0).empty());
}

TEST(FitPlane, ThreePointsHaveOne)
{
    const std::vector<Point> points{{0.0F, 0.0F, 1.0F}, {1.0F, 0.0F, 1.0F}, {0.0F, 1.0F, 1.0F}};

    EXPECT_EQ(robustPlaneInliers(points, 0.1), firstIndices(3));
}

TEST(FitPlane, PointsOnOneLineHaveNoPlane)
{
    std::vector<Point> points;
    for (int i = 0; i < 20; ++i)
    {
        points.emplace_back(static_cast<float>(i), 2.0F * static_cast<float>(i), 1.0F);
    }

    EXPECT_TRUE(robustPlaneInliers(points, 1.0).empty());
}

TEST(FitPlane, EqualPointsHaveNoPlane)
{
    EXPECT_TRUE(robustPlaneInliers(std::vector(20, Point(1.0F, 2.0F, 3.0F)), 1.0).empty());
}

TEST(FitPlane, TrianglesSmallerThanTheRoundingOfFloatsAreSkipped)
{
    // Twice the triangle's area, the length of the cross product, is 1e-8 here.
    const std::vector<Point> points{{0.0F, 0.0F, 0.0F}, {1e-4F, 0.0F, 0.0F}, {0.0F, 1e-4F, 0.0F}};

    EXPECT_TRUE(robustPlaneInliers(points, 1.0).empty());
}

TEST(FitPlane, PointsThatAreNotNumbersDoNotBelong)
{
    std::vector<Point> points = flatGrid();
    points[3] = {kNaN, 0.0F, 2.0F};
    points[5] = {0.0F, 0.0F, std::numeric_limits<float>::infinity()};
    Indices expected = firstIndices(36);
    std::erase_if(expected, [](std::uint32_t i) { return i == 3 || i == 5; });

    EXPECT_EQ(robustPlaneInliers(points, 0.01), expected);
}

TEST(FitPlane, HugeCoordinatesHaveNoPlaneAndDoNoHarm)
{
    const std::vector<Point> points{{0.0F, 0.0F, 0.0F}, {3e38F, 0.0F, 0.0F}, {0.0F, 3e38F, 0.0F}};

    EXPECT_TRUE(robustPlaneInliers(points, 1.0).empty());
}

TEST(FitPlane, LeastSquaresNormalIsTheDirectionOfLeastSpread)
{
    // Spread 3 along x, 2 along y, 1 along z, about (10, 20, 30).
    const std::vector<Point> points{
        {13.0F, 20.0F, 30.0F},
        {7.0F, 20.0F, 30.0F},
        {10.0F, 22.0F, 30.0F},
        {10.0F, 18.0F, 30.0F},
        {10.0F, 20.0F, 31.0F},
        {10.0F, 20.0F, 29.0F}};

    const std::optional<Plane> plane = leastSquaresPlane(points, firstIndices(6));

    ASSERT_TRUE(plane);
    EXPECT_EQ(plane->a, 0.0F);
    EXPECT_EQ(plane->b, 0.0F);
    EXPECT_EQ(std::abs(plane->c), 1.0F);
    EXPECT_EQ(plane->d, -30.0F * plane->c);
}

TEST(FitPlane, LeastSquaresCountsOnlyTheChosenPoints)
{
    std::vector<Point> points = flatGrid();
    points.insert(points.begin(), Point(50.0F, 50.0F, 50.0F));
    Indices indices = firstIndices(37);
    indices.erase(indices.begin());

    const std::optional<Plane> plane = leastSquaresPlane(points, indices);

    ASSERT_TRUE(plane);
    EXPECT_NEAR(std::abs(plane->c), 1.0F, 1e-7F);
    EXPECT_NEAR(plane->evaluate({100.0F, -100.0F, 2.0F}), 0.0F, 1e-4F);
}

TEST(FitPlane, LeastSquaresKeepsItsPrecisionFarFromTheOrigin)
{
    std::vector<Point> points = flatGrid();
    for (Point& point : points)
    {
        point = {point.x + 8192.0F, point.y + 8192.0F, 0.5F * point.x + 8192.0F};
    }

    const std::optional<Plane> plane = leastSquaresPlane(points, firstIndices(36));

    ASSERT_TRUE(plane);  // z = x / 2 + 4096, exactly
    const float sign = plane->c < 0.0F ? -1.0F : 1.0F;
    EXPECT_NEAR(sign * plane->a, -0.4472136F, 1e-7F);
    EXPECT_NEAR(sign * plane->b, 0.0F, 1e-7F);
    EXPECT_NEAR(sign * plane->c, 0.8944272F, 1e-7F);
    EXPECT_NEAR(sign * plane->d, -3663.574F, 1e-3F);  // -4096 x 0.8944272
}

TEST(FitPlane, LeastSquaresNeedsThreePoints)
{
    EXPECT_FALSE(leastSquaresPlane(flatGrid(), firstIndices(2)));
    EXPECT_FALSE(leastSquaresPlane(flatGrid(), {}));
    EXPECT_TRUE(leastSquaresPlane(flatGrid(), Indices{0, 1, 6}));
}

TEST(FitPlane, LeastSquaresOfPointsThatAreNotFiniteHasNoPlane)
{
    std::vector<Point> points = flatGrid();
    points[1].y = kNaN;
    EXPECT_FALSE(leastSquaresPlane(points, firstIndices(36)));

    points[1].y = std::numeric_limits<float>::infinity();
    EXPECT_FALSE(leastSquaresPlane(points, firstIndices(36)));
}

TEST(FitPlane, LeastSquaresAgreesWithALibrarysSingularVectors)
{
    for (std::uint32_t seed = 1; seed <= 20; ++seed)
    {
        const std::vector<Point> points = noisyPlane(seed);
        const Indices indices = robustPlaneInliers(points, 0.02);

        const std::optional<Plane> plane = leastSquaresPlane(points, indices);

        ASSERT_TRUE(plane);
        const Eigen::Vector3d normal(double(plane->a), double(plane->b), double(plane->c));
        EXPECT_NEAR(normal.norm(), 1.0, 1e-7);
        EXPECT_LT(normal.cross(librarysNormal(points, indices)).norm(), 1e-7);  // rounding to floats
    }
}

TEST(FitPlane, FindsThePlaneUnderAThirdOfOutliers)
{
    for (std::uint32_t seed = 1; seed <= 20; ++seed)
    {
        const std::vector<Point> points = noisyPlane(seed);

        const std::optional<Plane> plane = leastSquaresPlane(points, robustPlaneInliers(points, 0.02));

        ASSERT_TRUE(plane);
        const float sign = plane->a < 0.0F ? -1.0F : 1.0F;
        EXPECT_NEAR(sign * plane->a, 1.0F / 3.0F, 2e-3F);  // the noise over the extent of the points
        EXPECT_NEAR(sign * plane->b, 2.0F / 3.0F, 2e-3F);
        EXPECT_NEAR(sign * plane->c, -2.0F / 3.0F, 2e-3F);
        EXPECT_NEAR(sign * plane->d, -10.0F, 2e-2F);
    }
}

TEST(FitPlane, IsTheSameBitForBitEverywhere)
{
    const std::vector<Point> points = noisyPlane(7);

    const Indices inliers = robustPlaneInliers(points, 0.02);
    const std::optional<Plane> plane = leastSquaresPlane(points, inliers);

    ASSERT_TRUE(plane);
    EXPECT_EQ(inliers.size(), 201U);
    EXPECT_EQ(bits(plane->a), 1051375558U);  // 0.33343
    EXPECT_EQ(bits(plane->b), 1059759985U);
    EXPECT_EQ(bits(plane->c), 3207244446U);
    EXPECT_EQ(bits(plane->d), 3240099846U);
}

TEST(FitPlane, TheRayMeetsAPlaneInFront)
{
    const Plane wall(0.0F, 0.0F, 1.0F, 5.0F);  // z = -5

    EXPECT_EQ(intersection(wall, {0.0F, 0.0F, 0.0F}, {1.0F, 0.5F, -1.0F}), Point(5.0F, 2.5F, -5.0F));
    EXPECT_EQ(intersection(wall, {0.0F, 0.0F, -9.0F}, {0.0F, 0.0F, -8.0F}), Point(0.0F, 0.0F, -5.0F));
}

TEST(FitPlane, TheRayDoesNotMeetAPlaneBehind)
{
    EXPECT_FALSE(intersection({0.0F, 0.0F, 1.0F, 5.0F}, {0.0F, 0.0F, 0.0F}, {0.0F, 0.0F, 1.0F}));
}

TEST(FitPlane, AParallelRayDoesNotMeetThePlane)
{
    EXPECT_FALSE(intersection({0.0F, 0.0F, 1.0F, 5.0F}, {0.0F, 0.0F, 0.0F}, {1.0F, 0.0F, 0.0F}));
}

TEST(FitPlane, ARayInThePlaneMeetsItAtTheEye)
{
    EXPECT_EQ(
        intersection({0.0F, 0.0F, 1.0F, 5.0F}, {1.0F, 2.0F, -5.0F}, {9.0F, 2.0F, -5.0F}),
        Point(1.0F, 2.0F, -5.0F)
    );
}

TEST(FitPlane, ARayFromThePlaneMeetsItAtTheEye)
{
    EXPECT_EQ(
        intersection({0.0F, 0.0F, 1.0F, 5.0F}, {1.0F, 2.0F, -5.0F}, {9.0F, 2.0F, 7.0F}),
        Point(1.0F, 2.0F, -5.0F)
    );
}

TEST(FitPlane, NothingThatIsNotANumberIsMet)
{
    EXPECT_FALSE(intersection({0.0F, 0.0F, 1.0F, 5.0F}, {0.0F, 0.0F, kNaN}, {0.0F, 0.0F, -1.0F}));
    EXPECT_FALSE(intersection({0.0F, 0.0F, 1.0F, kNaN}, {0.0F, 0.0F, 0.0F}, {0.0F, 0.0F, -1.0F}));
}
}  // namespace Render
