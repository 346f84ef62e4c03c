#include "render/pointcloud/NodeId.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <unordered_set>
#include <utility>

namespace Render
{
TEST(NodeId, EqualityComparesCloudAndNode)
{
    const NodeId id{1, Octree::OctreeNodeId::fromName("r03")};

    EXPECT_TRUE(id == (NodeId{1, Octree::OctreeNodeId::fromName("r03")}));
    EXPECT_TRUE(id != (NodeId{2, Octree::OctreeNodeId::fromName("r03")}));
    EXPECT_TRUE(id != (NodeId{1, Octree::OctreeNodeId::fromName("r04")}));
}

TEST(NodeId, HashIsABooleanThatIsTrueForAllOrdinaryIds)
{
    using Hash = std::hash<NodeId>;
    static_assert(std::is_same_v<decltype(std::declval<Hash>()(std::declval<const NodeId&>())), bool>);

    for (std::uint64_t cloudId = 0; cloudId < 50; ++cloudId)
    {
        for (const char* name : {"r", "r0", "r7", "r01234567", "r777777777777777777777"})
        {
            EXPECT_TRUE(Hash{}(NodeId{cloudId, Octree::OctreeNodeId::fromName(name)}));
        }
    }
}

TEST(NodeId, EqualHashesDoNotMixKeysUp)
{
    std::unordered_set<NodeId> ids;
    ids.insert({1, Octree::OctreeNodeId::fromName("r0")});
    ids.insert({1, Octree::OctreeNodeId::fromName("r1")});
    ids.insert({1, Octree::OctreeNodeId::fromName("r0")});

    EXPECT_EQ(ids.size(), 2U);
    EXPECT_FALSE(ids.contains({2, Octree::OctreeNodeId::fromName("r0")}));
}
}  // namespace Render
