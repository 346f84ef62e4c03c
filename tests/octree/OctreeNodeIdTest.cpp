#include "octree/OctreeChildNodeIdRange.h"
#include "octree/OctreeNodeId.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

namespace
{
using Octree::OctreeChildNodeIdRange;
using Octree::OctreeNodeId;

const std::string kDeepestName = "r012345670123456701234";  // 21 digits

TEST(OctreeNodeId, DefaultIsTheRootAndItsOwnParent)
{
    const OctreeNodeId root;

    EXPECT_TRUE(root.isRoot());
    EXPECT_EQ(root.level(), 0U);
    EXPECT_EQ(root.childIndex(), 0U);
    EXPECT_EQ(root.parent(), root);
    EXPECT_EQ(root.name(), "r");
}

TEST(OctreeNodeId, ChildKnowsItsParentIndexAndLevel)
{
    const OctreeNodeId parent = OctreeNodeId::fromName("r36");

    for (unsigned i = 0; i < 8; ++i)
    {
        const OctreeNodeId child = parent.child(i);
        EXPECT_EQ(child.parent(), parent);
        EXPECT_EQ(child.childIndex(), i);
        EXPECT_EQ(child.level(), 3U);
        EXPECT_FALSE(child.isRoot());
    }
}

TEST(OctreeNodeId, NamesComeBackFromTheirIds)
{
    for (const std::string& name : {std::string("r"), std::string("r0"), std::string("r07"), kDeepestName})
    {
        EXPECT_EQ(OctreeNodeId::fromName(name).name(), name);
    }
    EXPECT_EQ(OctreeNodeId::fromName(kDeepestName).level(), 21U);
}

TEST(OctreeNodeId, RefusesNamesThatAreNone)
{
    for (const std::string& name :
         {std::string(),
          std::string("x"),
          std::string("0"),
          std::string("r8"),
          std::string("r-"),
          std::string("r0 "),
          std::string("R0"),
          kDeepestName + "0"})
    {
        EXPECT_THROW(OctreeNodeId::fromName(name), std::invalid_argument) << name;
    }
}

TEST(OctreeNodeId, RefusesChildrenBeyondIndexSevenAndTheDeepestLevel)
{
    EXPECT_THROW(OctreeNodeId().child(8), std::out_of_range);
    EXPECT_THROW(OctreeNodeId::fromName(kDeepestName).child(0), std::out_of_range);
}

TEST(OctreeNodeId, OrderIsBreadthFirst)
{
    // written in the order that names sorted by length, then alphabetically, have
    const std::vector<std::string> names{
        "r", "r0", "r1", "r7", "r00", "r07", "r10", "r70", "r77", "r000", "r777"};

    std::set<OctreeNodeId> ids;
    for (auto name = names.rbegin(); name != names.rend(); ++name)
    {
        ids.insert(OctreeNodeId::fromName(*name));
    }

    std::vector<std::string> sorted;
    for (const OctreeNodeId& id : ids)
    {
        sorted.push_back(id.name());
    }
    EXPECT_EQ(sorted, names);
}

TEST(OctreeNodeId, SameDigitsAtDifferentLevelsAreDifferentNodes)
{
    EXPECT_NE(OctreeNodeId::fromName("r0"), OctreeNodeId::fromName("r00"));
    EXPECT_NE(OctreeNodeId(), OctreeNodeId::fromName("r0"));
}

TEST(OctreeNodeId, HashesOfNeighboursDiffer)
{
    std::unordered_set<std::size_t> hashes;
    std::size_t count = 0;
    std::vector<OctreeNodeId> level{OctreeNodeId()};
    for (int depth = 0; depth < 5; ++depth)
    {
        std::vector<OctreeNodeId> next;
        for (const OctreeNodeId& id : level)
        {
            hashes.insert(std::hash<OctreeNodeId>{}(id));
            ++count;
            for (unsigned i = 0; i < 8; ++i)
            {
                next.push_back(id.child(i));
            }
        }
        level.swap(next);
    }

    EXPECT_EQ(hashes.size(), count);
}

TEST(OctreeChildNodeIdRange, ListsTheExistingChildrenInChildOrder)
{
    const OctreeNodeId parent = OctreeNodeId::fromName("r5");

    const OctreeChildNodeIdRange range(parent, 0b10010001U);

    const std::vector<OctreeNodeId> ids(range.begin(), range.end());
    EXPECT_EQ(ids, (std::vector<OctreeNodeId>{parent.child(0), parent.child(4), parent.child(7)}));
    EXPECT_EQ(range.size(), 3U);
}

TEST(OctreeChildNodeIdRange, IsEmptyWithoutChildren)
{
    const OctreeChildNodeIdRange range(OctreeNodeId::fromName(kDeepestName), 0);

    EXPECT_TRUE(range.empty());
    EXPECT_EQ(range.begin(), range.end());
}
}  // namespace
