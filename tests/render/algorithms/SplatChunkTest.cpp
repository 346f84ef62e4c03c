#include "render/pointcloud/SplatChunk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Render
{
namespace
{
DrawnNode node(std::uint64_t points, PointSlot slot)
{
    DrawnNode result;
    result.record.pointCount = points;
    result.slot = slot;
    return result;
}
}  // namespace

TEST(WriteSplatChunks, CutsEachNodeIntoPiecesOfSixtyFour)
{
    std::vector<SplatChunk> chunks;
    std::vector<SplatNode> table;

    writeSplatChunks(
        std::vector<DrawnNode>{node(130, {.window = 0, .first = 1000}), node(64, {.window = 1, .first = 8})},
        chunks,
        table
    );

    EXPECT_THAT(
        chunks,
        testing::ElementsAre(
            SplatChunk{1000, 64, 0, 0},
            SplatChunk{1064, 64, 0, 0},
            SplatChunk{1128, 2, 0, 0},
            SplatChunk{8, 64, 1, 1}
        )
    );
}

TEST(WriteSplatChunks, NodesWithoutPointsHaveARowAndNoChunk)
{
    std::vector<SplatChunk> chunks;
    std::vector<SplatNode> table;

    writeSplatChunks(std::vector<DrawnNode>{node(0, {}), node(1, {.window = 0, .first = 4})}, chunks, table);

    EXPECT_THAT(chunks, testing::ElementsAre(SplatChunk{4, 1, 1, 0}));
    EXPECT_EQ(table.size(), 2u);
}

TEST(WriteSplatChunks, TheTableTellsWhereTheWalkToTheDeepestNodeBegins)
{
    DrawnNode drawn = node(1, {});
    drawn.record.index = 7;
    drawn.record.level = 3;
    drawn.record.boxMin = {1, 2, 3};
    std::vector<SplatChunk> chunks;
    std::vector<SplatNode> table;

    writeSplatChunks(std::vector<DrawnNode>{drawn}, chunks, table);

    ASSERT_EQ(table.size(), 1u);
    EXPECT_THAT(table[0].corner, testing::ElementsAre(1.0F, 2.0F, 3.0F));
    EXPECT_EQ(table[0].texel, 7u);
    EXPECT_EQ(table[0].level, 3u);
}

TEST(WriteSplatChunks, ReplacesWhatWasThere)
{
    std::vector<SplatChunk> chunks(3);
    std::vector<SplatNode> table(3);

    writeSplatChunks({}, chunks, table);

    EXPECT_TRUE(chunks.empty());
    EXPECT_TRUE(table.empty());
}
}  // namespace Render
