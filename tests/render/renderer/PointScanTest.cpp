#include "render/renderer/PointScan.h"
#include "tests/render/renderer/PositionPicture.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <vector>

namespace Render
{
namespace
{
/// A frame of 3 x 2 pixels; the colour of pixel (x, y) is (x, y, 0x20, 0xFF).
class PointScan : public testing::Test
{
protected:
    PointScan()
    {
        for (std::size_t i = 0; i < mColors.size(); ++i)
        {
            mColors[i].set(static_cast<unsigned char>(i % 3), static_cast<unsigned char>(i / 3), 0x20, 0xFF);
        }
    }

    FrameImages images() const
    {
        return {mPositions.image(), {reinterpret_cast<const std::byte*>(mColors.data()), 12, 24}, 3, 2};
    }

    /// All pixels show a point whose x is 10 times the column and y the row.
    void coverAll()
    {
        for (std::uint64_t y = 0; y < 2; ++y)
        {
            for (std::uint64_t x = 0; x < 3; ++x)
            {
                mPositions.set(x, y, {10.0F * static_cast<float>(x), static_cast<float>(y), 0.5F});
            }
        }
    }

    std::vector<Math::Point<float, 3>> scanned(ScanPosition& next, std::size_t maxCount) const
    {
        std::vector<VertexPosColor> points(maxCount);
        points.resize(scanPoints(images(), next, points));
        std::vector<Math::Point<float, 3>> positions;
        for (const VertexPosColor& point : points)
        {
            positions.push_back(point.position);
        }
        return positions;
    }

    PositionPicture mPositions{3, 2};
    std::array<Math::Color, 6> mColors;
    ScanPosition mNext;
};

using Points = std::vector<Math::Point<float, 3>>;
}  // namespace

TEST_F(PointScan, GoesRowByRowFromTheTop)
{
    coverAll();

    EXPECT_EQ(
        scanned(mNext, 10),
        (Points{
            {0.0F, 0.0F, 0.5F},
            {10.0F, 0.0F, 0.5F},
            {20.0F, 0.0F, 0.5F},
            {0.0F, 1.0F, 0.5F},
            {10.0F, 1.0F, 0.5F},
            {20.0F, 1.0F, 0.5F}})
    );
    EXPECT_EQ(mNext, (ScanPosition{0, 2}));
}

TEST_F(PointScan, InANarrowerPictureItContinuesWithTheNextRow)
{
    coverAll();
    mNext = {100, 0};

    EXPECT_EQ(scanned(mNext, 1), (Points{{0.0F, 1.0F, 0.5F}}));
    EXPECT_EQ(mNext, (ScanPosition{1, 1}));
}

TEST_F(PointScan, ContinuesWhereTheLastChunkEnded)
{
    coverAll();

    scanned(mNext, 4);

    EXPECT_EQ(mNext, (ScanPosition{1, 1}));
    EXPECT_EQ(scanned(mNext, 10), (Points{{10.0F, 1.0F, 0.5F}, {20.0F, 1.0F, 0.5F}}));
    EXPECT_TRUE(scanned(mNext, 10).empty());
}

TEST_F(PointScan, WithoutRoomStaysWhereItIs)
{
    coverAll();
    mNext = {1, 1};

    EXPECT_TRUE(scanned(mNext, 0).empty());

    EXPECT_EQ(mNext, (ScanPosition{1, 1}));
}

TEST_F(PointScan, ThatEndsAtTheLastPointFindsNoMoreInTheRestOfTheFrame)
{
    mPositions.set(1, 0, {1.0F, 2.0F, 3.0F});

    EXPECT_EQ(scanned(mNext, 1), (Points{{1.0F, 2.0F, 3.0F}}));
    EXPECT_EQ(mNext, (ScanPosition{2, 0}));
    EXPECT_TRUE(scanned(mNext, 1).empty());
    EXPECT_EQ(mNext, (ScanPosition{0, 2}));
}

TEST_F(PointScan, SkipsPixelsWhoseFourthComponentIsNotAboveZero)
{
    coverAll();
    mPositions.set(0, 0, {1.0F, 1.0F, 1.0F}, 0.0F);
    mPositions.set(1, 0, {1.0F, 1.0F, 1.0F}, -0.5F);
    mPositions.set(0, 1, {1.0F, 1.0F, 1.0F}, std::numeric_limits<float>::quiet_NaN());
    mPositions.set(1, 1, {1.0F, 1.0F, 1.0F}, 1e-30F);

    EXPECT_EQ(scanned(mNext, 10), (Points{{20.0F, 0.0F, 0.5F}, {1.0F, 1.0F, 1.0F}, {20.0F, 1.0F, 0.5F}}));
}

TEST_F(PointScan, OfAnEmptyFrameFindsNothing)
{
    EXPECT_TRUE(scanned(mNext, 10).empty());
    EXPECT_EQ(mNext, (ScanPosition{0, 2}));
}

TEST_F(PointScan, TakesTheColorOfTheSamePixelWithItsAlpha)
{
    mPositions.set(2, 1, {1.0F, 2.0F, 3.0F});
    std::array<VertexPosColor, 1> points;

    scanPoints(images(), mNext, points);

    EXPECT_EQ(points[0].color, Math::Color(2, 1, 0x20, 0xFF));
}

TEST_F(PointScan, IntoSeparateListsWidensPositions)
{
    coverAll();
    mPositions.set(0, 0, {0.1F, -2.5F, 1e30F});
    std::array<double, 6> positions{};
    std::array<int, 2> colors{};

    EXPECT_EQ(scanPoints(images(), mNext, positions, colors), 2U);

    EXPECT_EQ(positions, (std::array<double, 6>{0.1F, -2.5F, 1e30F, 10.0, 0.0, 0.5}));
}

TEST_F(PointScan, IntoSeparateListsPacksColorsFromBlueToRedWithoutAlpha)
{
    mPositions.set(0, 0, {1.0F, 2.0F, 3.0F});
    mColors[0].set(0x30, 0x20, 0x10, 0xFF);
    std::array<double, 3> positions{};
    std::array<int, 1> colors{};

    scanPoints(images(), mNext, positions, colors);

    EXPECT_EQ(colors[0], 0x102030);
}

TEST_F(PointScan, BothFormsShareTheirPlace)
{
    coverAll();
    std::array<double, 12> positions{};
    std::array<int, 4> colors{};

    EXPECT_EQ(scanPoints(images(), mNext, positions, colors), 4U);

    EXPECT_EQ(scanned(mNext, 10), (Points{{10.0F, 1.0F, 0.5F}, {20.0F, 1.0F, 0.5F}}));
}
}  // namespace Render
