#include "render/pointcloud/writeOctreeTexture.h"

#include <gtest/gtest.h>

#include <bit>
#include <initializer_list>
#include <random>
#include <set>
#include <vector>

namespace Render
{
namespace
{
using Octree::OctreeNodeId;

std::vector<NodeRecord> recordsOf(const std::set<OctreeNodeId>& ids)
{
    std::vector<NodeRecord> records;
    for (const OctreeNodeId& id : ids)
    {
        records.emplace_back().octreeNodeId = id;
    }
    return records;
}

std::vector<std::uint8_t> textureOf(std::initializer_list<const char*> names)
{
    std::set<OctreeNodeId> ids;
    for (const char* name : names)
    {
        ids.insert(OctreeNodeId::fromName(name));
    }
    std::vector<std::uint8_t> texels;
    writeOctreeTexture(recordsOf(ids), texels);
    return texels;
}

/// The texture by comparing every pair of nodes.
std::vector<std::uint8_t> textureByPairs(const std::vector<NodeRecord>& records)
{
    std::vector<std::uint8_t> texels;
    for (std::size_t i = 0; i < records.size(); ++i)
    {
        unsigned mask = 0;
        std::size_t offset = 0;
        for (std::size_t j = records.size(); j-- > 0;)
        {
            const OctreeNodeId& other = records[j].octreeNodeId;
            if (!other.isRoot() && other.parent() == records[i].octreeNodeId)
            {
                mask |= 1U << other.childIndex();
                offset = j - i;
            }
        }
        texels.push_back(static_cast<std::uint8_t>(mask));
        texels.push_back(static_cast<std::uint8_t>(offset / 256));
        texels.push_back(static_cast<std::uint8_t>(offset % 256));
        texels.push_back(0);
    }
    return texels;
}

/// Follows child digits from a node as the point shader does.
/// @return the depth reached
std::size_t depthByTexture(
    const std::vector<std::uint8_t>& texels,
    std::size_t index,
    std::size_t depth,
    const std::vector<unsigned>& path
)
{
    while (depth < path.size())
    {
        const unsigned mask = texels[4 * index];
        const unsigned child = path[depth];
        if ((mask & (1U << child)) == 0)
        {
            break;
        }
        const std::size_t offset = texels[4 * index + 1] * 256U + texels[4 * index + 2];
        index += offset + static_cast<std::size_t>(std::popcount(mask & ((1U << child) - 1U)));
        ++depth;
    }
    return depth;
}
}  // namespace

TEST(WriteOctreeTexture, NoNodesGiveNoTexels)
{
    std::vector<std::uint8_t> texels{1, 2, 3};

    writeOctreeTexture({}, texels);

    EXPECT_TRUE(texels.empty());
}

TEST(WriteOctreeTexture, RootAloneIsOneEmptyTexel)
{
    EXPECT_EQ(textureOf({"r"}), (std::vector<std::uint8_t>{0, 0, 0, 0}));
}

TEST(WriteOctreeTexture, RootNamesItsChildrenAndTheirOffset)
{
    const std::vector<std::uint8_t> texels = textureOf({"r", "r0", "r3", "r5"});

    EXPECT_EQ(texels, (std::vector<std::uint8_t>{0b00101001, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(WriteOctreeTexture, OffsetLeadsToTheFirstDrawnChild)
{
    const std::vector<std::uint8_t> texels = textureOf({"r", "r1", "r2", "r26", "r27"});

    EXPECT_EQ(
        texels,
        (std::vector<std::uint8_t>{
            0b00000110, 0, 1, 0,  // r: r1 and r2
            0,          0, 0, 0,  // r1
            0b11000000, 0, 1, 0,  // r2: r26 and r27
            0,          0, 0, 0,  // r26
            0,          0, 0, 0   // r27
        })
    );
}

TEST(WriteOctreeTexture, LargeOffsetsTakeTheHighByte)
{
    std::set<OctreeNodeId> ids{OctreeNodeId()};
    const auto addChildren = [&ids](const OctreeNodeId& id)
    {
        for (unsigned i = 0; i < 8; ++i)
        {
            ids.insert(id.child(i));
        }
    };
    for (unsigned level = 0; level < 3; ++level)
    {
        for (const OctreeNodeId& id : std::set<OctreeNodeId>(ids))
        {
            addChildren(id);
        }
    }
    ids.insert(OctreeNodeId::fromName("r7770"));  // behind 1 + 8 + 64 + 512 nodes
    std::vector<std::uint8_t> texels;
    const std::vector<NodeRecord> records = recordsOf(ids);

    writeOctreeTexture(records, texels);

    const std::size_t last = 1 + 8 + 64 + 511;  // r777, directly before r7770
    EXPECT_EQ(texels[4 * last], 1);
    EXPECT_EQ(texels[4 * last + 1], 0);
    EXPECT_EQ(texels[4 * last + 2], 1);
    const std::size_t r77 = 1 + 8 + 63;  // its children are the last eight of level 3: 577 - 72 = 505 further
    EXPECT_EQ(texels[4 * r77 + 1], 505 / 256);
    EXPECT_EQ(texels[4 * r77 + 2], 505 % 256);
}

TEST(WriteOctreeTexture, NodesWithoutTheirParentAreNobodysChildren)
{
    EXPECT_EQ(textureOf({"r", "r12", "r345"}), std::vector<std::uint8_t>(12, 0));
    EXPECT_EQ(textureOf({"r12", "r121"}), (std::vector<std::uint8_t>{2, 0, 1, 0, 0, 0, 0, 0}));
}

TEST(WriteOctreeTexture, AgreesWithTheComparisonOfAllPairsOnRandomTrees)
{
    constexpr unsigned kSeed = 20240611;
    RecordProperty("seed", kSeed);
    SCOPED_TRACE(kSeed);
    std::mt19937 random(kSeed);
    for (unsigned round = 0; round < 60; ++round)
    {
        std::set<OctreeNodeId> ids;
        const std::size_t count = 1 + random() % 250;
        while (ids.size() < count)
        {
            OctreeNodeId id;
            const auto depth = static_cast<unsigned>(random() % 7);
            for (unsigned level = 0; level < depth; ++level)
            {
                if (round % 2 == 0)
                {
                    ids.insert(id);  // every second tree is complete, in the others parents may lack
                }
                id = id.child(static_cast<unsigned>(random() % 8));
            }
            ids.insert(id);
        }
        const std::vector<NodeRecord> records = recordsOf(ids);
        std::vector<std::uint8_t> texels;

        writeOctreeTexture(records, texels);

        ASSERT_EQ(texels, textureByPairs(records)) << "round " << round;
    }
}

TEST(WriteOctreeTexture, WalkThroughTheTextureFindsTheDeepestDrawnNode)
{
    constexpr unsigned kSeed = 77;
    SCOPED_TRACE(kSeed);
    std::mt19937 random(kSeed);
    std::set<OctreeNodeId> ids{OctreeNodeId()};
    for (unsigned i = 0; i < 300; ++i)
    {
        OctreeNodeId id;
        for (auto level = random() % 6; level > 0; --level)
        {
            id = id.child(static_cast<unsigned>(random() % 8));
            ids.insert(id);
        }
    }
    const std::vector<NodeRecord> records = recordsOf(ids);
    std::vector<std::uint8_t> texels;
    writeOctreeTexture(records, texels);

    for (unsigned i = 0; i < 2000; ++i)
    {
        std::vector<unsigned> path;
        std::size_t expected = 0;
        OctreeNodeId id;
        for (unsigned level = 0; level < 8; ++level)
        {
            path.push_back(static_cast<unsigned>(random() % 8));
            id = id.child(path.back());
            expected += ids.contains(id) && expected == level ? 1U : 0U;
        }
        ASSERT_EQ(depthByTexture(texels, 0, 0, path), expected);
    }
}

TEST(WriteOctreeTexture, KeepsItsStorage)
{
    std::vector<std::uint8_t> texels;
    writeOctreeTexture(recordsOf({OctreeNodeId(), OctreeNodeId::fromName("r0")}), texels);
    const std::uint8_t* const storage = texels.data();

    writeOctreeTexture(recordsOf({OctreeNodeId()}), texels);

    EXPECT_EQ(texels.data(), storage);
    EXPECT_EQ(texels.size(), 4U);
}
}  // namespace Render
