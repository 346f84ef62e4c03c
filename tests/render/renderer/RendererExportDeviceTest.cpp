#include "tests/render/renderer/RendererFixture.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace Render
{
namespace
{
using Math::Color;

constexpr Color kColor{0x30, 0x20, 0x10, 0xFF};

/// A frame whose first two rows are covered by points: 16 of 48 pixels.
class RendererExport : public RendererFixture
{
protected:
    void SetUp() override
    {
        RendererFixture::SetUp();
        if (mRenderer)
        {
            show(rectangle(-4.0F, 4.0F, 1.0F, 3.0F, 2.5F, kColor));
        }
    }

    static std::string textOf(const std::filesystem::path& path)
    {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
};
}  // namespace

TEST_F(RendererExport, HasAPointPerCoveredPixelRowByRow)
{
    std::vector<VertexPosColor> points(3);

    mRenderer->getPoints(points);

    ASSERT_EQ(points.size(), 16U);
    EXPECT_NEAR(points[0].position.x, -3.5F, 1e-5F);
    EXPECT_NEAR(points[0].position.y, 2.5F, 1e-5F);
    EXPECT_EQ(points[0].position.z, 2.5F);
    EXPECT_NEAR(points[1].position.x, -2.5F, 1e-5F);
    EXPECT_NEAR(points[15].position.x, 3.5F, 1e-5F);
    EXPECT_NEAR(points[15].position.y, 1.5F, 1e-5F);
    EXPECT_EQ(points[0].color, kColor);
}

TEST_F(RendererExport, HasTheColorsOfThePicture)
{
    mRenderer->setRenderMode(RenderMode::TomographicDark);
    mRenderer->render();
    std::vector<VertexPosColor> points;

    mRenderer->getPoints(points);

    ASSERT_EQ(points.size(), 16U);
    expectColor(points[0].color, Color(0xCF, 0xDF, 0xEF, 0x30));
    EXPECT_EQ(points[0].color, shownAt(0, 0));
}

TEST_F(RendererExport, ChunksContinueWhereTheLastOneEnded)
{
    std::array<VertexPosColor, 10> points;

    EXPECT_EQ(mRenderer->getNextPointChunk(points.data(), points.size()), 10U);
    EXPECT_EQ(mRenderer->getNextPointChunk(points.data(), points.size()), 6U);
    EXPECT_NEAR(points[0].position.x, -1.5F, 1e-5F);
    EXPECT_NEAR(points[0].position.y, 1.5F, 1e-5F);
    EXPECT_EQ(mRenderer->getNextPointChunk(points.data(), points.size()), 0U);
}

TEST_F(RendererExport, AChunkThatEndsAtTheLastPointIsFollowedByNone)
{
    std::array<VertexPosColor, 16> points;

    EXPECT_EQ(mRenderer->getNextPointChunk(points.data(), points.size()), 16U);
    EXPECT_EQ(mRenderer->getNextPointChunk(points.data(), points.size()), 0U);
}

TEST_F(RendererExport, AChunkWithoutRoomLeavesThePlaceAsItIs)
{
    std::array<VertexPosColor, 4> points;
    EXPECT_EQ(mRenderer->getNextPointChunk(points.data(), 4), 4U);

    EXPECT_EQ(mRenderer->getNextPointChunk(static_cast<VertexPosColor*>(nullptr), 0), 0U);

    EXPECT_EQ(mRenderer->getNextPointChunk(points.data(), 1), 1U);
    EXPECT_NEAR(points[0].position.x, 0.5F, 1e-5F);
}

TEST_F(RendererExport, ChunksIntoSeparateListsHoldDoublesAndPackedColors)
{
    std::array<double, 6> positions{};
    std::array<int, 2> colors{};

    EXPECT_EQ(mRenderer->getNextPointChunk(positions.data(), colors.data(), 2), 2U);

    EXPECT_NEAR(positions[0], -3.5, 1e-5);
    EXPECT_EQ(positions[2], 2.5);
    EXPECT_NEAR(positions[3], -2.5, 1e-5);
    EXPECT_EQ(colors, (std::array<int, 2>{0x102030, 0x102030}));
}

TEST_F(RendererExport, ResettingStartsAgain)
{
    std::array<VertexPosColor, 16> points;
    mRenderer->getNextPointChunk(points.data(), 5);

    mRenderer->resetPointChunkPosition();

    EXPECT_EQ(mRenderer->getNextPointChunk(points.data(), points.size()), 16U);
}

TEST_F(RendererExport, AFrameStartsAgain)
{
    std::array<VertexPosColor, 16> points;
    mRenderer->getNextPointChunk(points.data(), 5);

    mRenderer->render();

    EXPECT_EQ(mRenderer->getNextPointChunk(points.data(), points.size()), 16U);
}

TEST_F(RendererExport, AllPointsComeAlsoAfterAPartialChunkAndLeaveNone)
{
    std::array<VertexPosColor, 5> chunk;
    mRenderer->getNextPointChunk(chunk.data(), chunk.size());
    std::vector<VertexPosColor> points;

    mRenderer->getPoints(points);

    EXPECT_EQ(points.size(), 16U);
    EXPECT_EQ(mRenderer->getNextPointChunk(chunk.data(), chunk.size()), 0U);
}

TEST_F(RendererExport, FollowsTheSizeOfThePicture)
{
    mRenderer->setViewport(1200, 900);
    mRenderer->render();
    std::vector<VertexPosColor> points;

    mRenderer->getPoints(points);

    EXPECT_EQ(points.size(), 1200U * 300U);
}

TEST_F(RendererExport, AFileHasTheFrameDrawnForIt)
{
    const TemporaryFolder folder;
    mRenderer->setScene(std::make_shared<TriangleRenderable>(rectangle(-4.0F, -3.0F, 2.0F, 3.0F, 2.5F, kColor)
    ));

    mRenderer->writePoints(folder.path() / "points.txt");

    EXPECT_EQ(
        textOf(folder.path() / "points.txt"), "X Y Z Red Green Blue Alpha\n-3.5 2.5 2.5 48 32 16 255\n"
    );
    EXPECT_FALSE(mRenderer->needsRedraw());
}

TEST_F(RendererExport, AFileOfAnEmptySceneHoldsTheHeaderAlone)
{
    const TemporaryFolder folder;
    mRenderer->setScene(nullptr);

    mRenderer->writePoints(folder.path() / "points.txt");

    EXPECT_EQ(textOf(folder.path() / "points.txt"), "X Y Z Red Green Blue Alpha\n");
}

TEST_F(RendererExport, AFileThatCannotBeOpenedIsNotReported)
{
    const TemporaryFolder folder;

    EXPECT_NO_THROW(mRenderer->writePoints(folder.path() / "missing" / "points.txt"));
    EXPECT_NO_THROW(mRenderer->writePoints(folder.path()));

    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}
}  // namespace Render
