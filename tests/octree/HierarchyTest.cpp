#include "octree/potree/PoTreeTree.h"
#include "octree/potree/parseHierarchyChunk.h"
#include "tests/octree/TestDataSet.h"
#include "tests/support/messageOf.h"
#include "tests/support/testData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace
{
using Octree::OctreeNodeId;
using PoTree::NodeType;
using PoTree::PoTreeTree;
using testing::AllOf;
using testing::HasSubstr;

constexpr unsigned kNormal = 0;
constexpr unsigned kLeaf = 1;
constexpr unsigned kProxy = 2;

const Math::NBoundingBox<double, 3> kUnitCube({0.0, 0.0, 0.0}, {1.0, 1.0, 1.0});

std::shared_ptr<PoTree::Node> parsedChunk(const std::string& bytes, const OctreeNodeId& first = {})
{
    return PoTree::parseHierarchyChunk(std::as_bytes(std::span(bytes)), first, kUnitCube, "hierarchy.bin");
}

PoTreeTree opened(const Octree::Location& location)
{
    return PoTreeTree(PoTree::FileSystemLocation(location.folder()));
}

std::string lookupError(const PoTreeTree& tree, std::string_view name)
{
    return messageOf<std::runtime_error>([&] { static_cast<void>(tree.findNode(nodeNamed(name), {})); });
}

// --- one chunk ---------------------------------------------------------------------------------------------

TEST(HierarchyChunk, RecordsDescribeNodesBreadthFirst)
{
    // r has children 0 and 5; r0 has child 7; then r5, then r07
    const auto root = parsedChunk(
        hierarchyRecord(kNormal, 0b00100001, 10, 1, 2) + hierarchyRecord(kLeaf, 0b10000000, 20, 3, 4) +
        hierarchyRecord(kLeaf, 0, 30, 5, 6) + hierarchyRecord(kLeaf, 0, 40, 7, 8)
    );

    EXPECT_EQ(root->pointCount, 10U);
    EXPECT_EQ(root->children[0]->pointCount, 20U);
    EXPECT_EQ(root->children[5]->pointCount, 30U);
    EXPECT_EQ(root->children[0]->children[7]->pointCount, 40U);
    EXPECT_EQ(root->children[0]->children[7]->id.name(), "r07");
    EXPECT_EQ(root->children[1], nullptr);
}

TEST(HierarchyChunk, EveryFieldOfARecordIsTaken)
{
    const auto node = parsedChunk(
        hierarchyRecord(kLeaf | 13U << 4U, 0, 4294967295U, 0x1122334455667788U, 0x99AABBCCDDEEFF00U)
    );

    EXPECT_EQ(node->type, NodeType::Leaf);
    EXPECT_EQ(node->flags, 13U);
    EXPECT_EQ(node->pointCount, 4294967295U);
    EXPECT_EQ(node->byteOffset, 0x1122334455667788U);
    EXPECT_EQ(node->byteSize, 0x99AABBCCDDEEFF00U);
}

TEST(HierarchyChunk, ChildBoxesAreTheOctantsWithXAsTheHighestBit)
{
    const auto root = parsedChunk(
        hierarchyRecord(kNormal, 0b00010010, 0, 0, 0) + hierarchyRecord(kLeaf, 0, 0, 0, 0) +
        hierarchyRecord(kLeaf, 0, 0, 0, 0)
    );

    EXPECT_EQ(root->children[1]->boundingBox.min(), (Math::Point<double, 3>(0.0, 0.0, 0.5)));
    EXPECT_EQ(root->children[1]->boundingBox.max(), (Math::Point<double, 3>(0.5, 0.5, 1.0)));
    EXPECT_EQ(root->children[4]->boundingBox.min(), (Math::Point<double, 3>(0.5, 0.0, 0.0)));
    EXPECT_EQ(root->children[4]->boundingBox.max(), (Math::Point<double, 3>(1.0, 0.5, 0.5)));
}

TEST(HierarchyChunk, FewerBytesThanARecordYieldNoNode)
{
    EXPECT_EQ(parsedChunk(std::string(21, '\0')), nullptr);
    EXPECT_EQ(parsedChunk(""), nullptr);
}

TEST(HierarchyChunk, BytesAfterTheLastNodeAreIgnored)
{
    const auto root = parsedChunk(hierarchyRecord(kLeaf, 0, 5, 0, 0) + std::string(50, '\xFF'));

    EXPECT_EQ(root->pointCount, 5U);
}

TEST(HierarchyChunk, NodesWithoutRecordKeepTheirSlotsEmpty)
{
    // 8 children announced, one record for them
    const auto root =
        parsedChunk(hierarchyRecord(kNormal, 0xFF, 5, 0, 0) + hierarchyRecord(kLeaf, 0, 6, 0, 0));

    EXPECT_EQ(root->children[0]->pointCount, 6U);
    for (std::size_t i = 1; i < 8; ++i)
    {
        EXPECT_EQ(root->children[i], nullptr);
    }
}

TEST(HierarchyChunk, ProxiesAreNotExpandedWhateverTheirMaskSays)
{
    const auto root = parsedChunk(
        hierarchyRecord(kNormal, 0b11, 1, 0, 0) + hierarchyRecord(kProxy, 0xFF, 2, 0, 0) +
        hierarchyRecord(kLeaf, 0, 3, 0, 0)
    );

    EXPECT_EQ(root->children[0]->type, NodeType::Proxy);
    EXPECT_EQ(root->children[0]->children[0], nullptr);
    EXPECT_EQ(root->children[1]->pointCount, 3U);
}

TEST(HierarchyChunk, DeepestLevelNeverGetsChildren)
{
    const OctreeNodeId level20 = nodeNamed("r" + std::string(20, '3'));

    const auto node = parsedChunk(
        hierarchyRecord(kNormal, 0b1, 1, 0, 0) + hierarchyRecord(kNormal, 0xFF, 2, 0, 0) +
            hierarchyRecord(kNormal, 0, 3, 0, 0),
        level20
    );

    ASSERT_NE(node->children[0], nullptr);
    EXPECT_EQ(node->children[0]->id.level(), 21U);
    for (const auto& child : node->children[0]->children)
    {
        EXPECT_EQ(child, nullptr);
    }
}

TEST(HierarchyChunk, RefusesAnUnknownNodeType)
{
    const std::string error =
        messageOf<std::runtime_error>([] { parsedChunk(hierarchyRecord(3, 0, 0, 0, 0)); });

    EXPECT_EQ(error, "Error: hierarchy.bin: the record of node r has type 3, expected 0, 1 or 2");
}

// --- lookup
// --------------------------------------------------------------------------------------------------

TEST(HierarchyLookup, FollowsProxiesThroughSeveralChunks)
{
    // chunk 0: r and the proxy r3; chunk 1: r3 and the proxy r31; chunk 2: r31 alone
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 0b1000, 1, 0, 0) + hierarchyRecord(kProxy, 0, 2, 44, 44) +
                    hierarchyRecord(kNormal, 0b10, 2, 7, 70) + hierarchyRecord(kProxy, 0xFF, 3, 88, 22) +
                    hierarchyRecord(kLeaf, 0, 3, 9, 90);
    const PoTreeTree tree = opened(set.write(44));

    const auto r3 = tree.findNode(nodeNamed("r3"), {});
    const auto r31 = tree.findNode(nodeNamed("r31"), {});

    EXPECT_EQ(r3->type, NodeType::Normal);
    EXPECT_EQ(r3->childMask, 0b10U);
    EXPECT_EQ(r3->byteOffset, 7U);
    EXPECT_EQ(r31->type, NodeType::Leaf);
    EXPECT_EQ(r31->byteSize, 90U);
    EXPECT_EQ(r31->boundingBox.min(), (Math::Point<double, 3>(100.0, 208.0, 312.0)));
}

TEST(HierarchyLookup, TypeLeafSaysNothingAboutChildren)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kLeaf, 0b1, 1, 0, 0) + hierarchyRecord(kLeaf, 0, 1, 0, 0);
    const Octree::Octree octree(set.write(), 1.0);

    EXPECT_FALSE(octree.isLeaf(octree.root()));
    EXPECT_TRUE(octree.isLeaf(nodeNamed("r0")));
    EXPECT_EQ(octree.children(octree.root()).size(), 1U);
}

TEST(HierarchyLookup, MissingNodesAreNotFound)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 0b1, 1, 0, 0) + hierarchyRecord(kLeaf, 0, 1, 0, 0);
    const PoTreeTree tree = opened(set.write());

    EXPECT_EQ(tree.findNode(nodeNamed("r1"), {}), nullptr);
    EXPECT_EQ(tree.findNode(nodeNamed("r00"), {}), nullptr);
    EXPECT_EQ(tree.findNode(nodeNamed("r77777"), {}), nullptr);
}

TEST(HierarchyLookup, OctreeReportsAMissingNodeWithItsNameInside)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(0, 0, 0));
    const Octree::Octree octree(set.write(), 1.0);

    try
    {
        static_cast<void>(octree.nodeInfo(nodeNamed("r5")));
        FAIL();
    }
    catch (const std::runtime_error& error)
    {
        EXPECT_STREQ(error.what(), "Failed to fetch node by id");
        const std::string cause = messageOf<std::runtime_error>([&] { std::rethrow_if_nested(error); });
        EXPECT_THAT(cause, HasSubstr("there is no node r5"));
    }
}

TEST(HierarchyLookup, StopRequestFailsTheLookupAndCachesNothing)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(0, 0, 0));
    const Octree::Octree octree(set.write(), 1.0);
    std::stop_source stop;
    stop.request_stop();

    EXPECT_EQ(
        messageOf<std::runtime_error>([&]
                                      { static_cast<void>(octree.nodeInfo(octree.root(), stop.get_token())); }
        ),
        "Failed to fetch node by id"
    );
    EXPECT_EQ(octree.nodeInfo(octree.root()).pointCount, 1U);
}

TEST(HierarchyLookup, ThreadsShareTheHierarchy)
{
    const std::filesystem::path folder = testData() / "test14_brotli";
    const Octree::Octree octree(Octree::Location::fromPath(folder), 1.0);
    std::vector<std::size_t> counts(4);

    {
        std::vector<std::jthread> threads;
        for (std::size_t t = 0; t < counts.size(); ++t)
        {
            threads.emplace_back(
                [&, t]
                {
                    std::vector<OctreeNodeId> nodes{octree.root()};
                    for (std::size_t i = 0; i < nodes.size(); ++i)
                    {
                        const auto children = octree.children(nodes[i]);
                        nodes.insert(nodes.end(), children.begin(), children.end());
                    }
                    counts[t] = nodes.size();
                }
            );
        }
    }

    EXPECT_EQ(counts, std::vector<std::size_t>(4, 59));  // the reference's number of nodes
}

// --- hostile hierarchies
// --------------------------------------------------------------------------------------

TEST(HostileHierarchy, FirstChunkLongerThanTheFile)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kLeaf, 0, 1, 0, 0);
    const PoTreeTree tree = opened(set.write(44));

    EXPECT_THAT(
        lookupError(tree, "r"),
        AllOf(HasSubstr("hierarchy.bin"), HasSubstr("44 bytes"), HasSubstr("file's 22 bytes"))
    );
}

TEST(HostileHierarchy, FirstChunkTooShortForARecord)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kLeaf, 0, 1, 0, 0);
    const PoTreeTree tree = opened(set.write(21));

    EXPECT_THAT(lookupError(tree, "r"), AllOf(HasSubstr("hierarchy.bin"), HasSubstr("expected at least 22")));
}

TEST(HostileHierarchy, ChunkLargerThanAnyRealOneIsNotAllocated)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kLeaf, 0, 1, 0, 0);
    const PoTreeTree tree = opened(set.write(std::uint64_t{1} << 50U));

    EXPECT_THAT(
        lookupError(tree, "r"), AllOf(HasSubstr("hierarchy.bin"), HasSubstr("expected at most 8388608"))
    );
}

TEST(HostileHierarchy, ProxyBeyondTheFile)
{
    const std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges{
        {44, 22},  // begins at the end
        {30, 22},  // ends beyond it
        {1000, 22},
        {18446744073709551615U, 22},  // the sum wraps around
        {18446744073709551600U, 44},
    };
    for (const auto& [offset, size] : ranges)
    {
        TestDataSet set;
        set.hierarchy = hierarchyRecord(kNormal, 1, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, offset, size);
        const PoTreeTree tree = opened(set.write(44));

        EXPECT_THAT(
            lookupError(tree, "r0"), AllOf(HasSubstr("hierarchy.bin"), HasSubstr("expected it within"))
        ) << offset;
    }
}

TEST(HostileHierarchy, ProxyWithoutBytes)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 1, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 0, 0);
    const PoTreeTree tree = opened(set.write(44));

    EXPECT_THAT(
        lookupError(tree, "r0"), AllOf(HasSubstr("node r0 has 0 bytes"), HasSubstr("expected at least 22"))
    );
}

TEST(HostileHierarchy, ProxyThatPointsToItsOwnChunk)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 1, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 0, 44);
    const PoTreeTree tree = opened(set.write(44));

    EXPECT_THAT(lookupError(tree, "r0"), HasSubstr("overlaps that of node r,"));
}

TEST(HostileHierarchy, ProxyThatPointsToItself)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 1, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 44, 22) +
                    hierarchyRecord(kProxy, 0, 1, 44, 22);
    const PoTreeTree tree = opened(set.write(44));

    EXPECT_THAT(lookupError(tree, "r0"), HasSubstr("begins with a proxy, expected the node's own record"));
}

TEST(HostileHierarchy, ProxiesThatPointToEachOther)
{
    // chunk at 44: r0 with the proxy r00 to the chunk at 88: r00 with a proxy back to 44
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 1, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 44, 44) +
                    hierarchyRecord(kNormal, 1, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 88, 44) +
                    hierarchyRecord(kNormal, 1, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 44, 44);
    const PoTreeTree tree = opened(set.write(44));

    EXPECT_NE(tree.findNode(nodeNamed("r00"), {}), nullptr);
    EXPECT_THAT(lookupError(tree, "r000"), HasSubstr("overlaps that of node r0,"));
    EXPECT_THAT(lookupError(tree, "r0000000"), HasSubstr("overlaps that of node r0,"));
}

TEST(HostileHierarchy, ProxiesThatShareAChunkCannotMultiplyNodes)
{
    // every level doubles the nodes if both children may use the same bytes
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 0b11, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 66, 22) +
                    hierarchyRecord(kProxy, 0, 1, 66, 22) + hierarchyRecord(kLeaf, 0, 1, 0, 0);
    const PoTreeTree tree = opened(set.write(66));

    EXPECT_NE(tree.findNode(nodeNamed("r0"), {}), nullptr);
    EXPECT_THAT(lookupError(tree, "r1"), HasSubstr("overlaps that of node r0,"));
    EXPECT_NE(tree.findNode(nodeNamed("r0"), {}), nullptr);
}

#if defined(__linux__)
/// Bytes that this process has read by system calls so far.
std::uint64_t bytesReadByProcess()
{
    const std::string counters = TemporaryFolder::read("/proc/self/io");
    return std::stoull(counters.substr(counters.find("rchar: ") + 7));
}

TEST(HostileHierarchy, ChunksThatOverlapAreRefusedWithoutBeingRead)
{
    constexpr std::uint64_t kChunk = 4U << 20U;
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 0b11, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 66, kChunk) +
                    hierarchyRecord(kProxy, 0, 1, 66, kChunk) + std::string(kChunk, '\0');
    const PoTreeTree tree = opened(set.write(66));
    const std::uint64_t atFirst = bytesReadByProcess();
    ASSERT_NE(tree.findNode(nodeNamed("r0"), {}), nullptr);
    const std::uint64_t before = bytesReadByProcess();
    ASSERT_GE(before - atFirst, kChunk);

    EXPECT_THAT(lookupError(tree, "r1"), HasSubstr("overlaps that of node r0,"));

    EXPECT_LT(bytesReadByProcess() - before, kChunk / 4);
}
#endif

TEST(HostileHierarchy, ChunksThatOverlapFromEitherSide)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 0b111, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 110, 22) +
                    hierarchyRecord(kProxy, 0, 1, 89, 22) + hierarchyRecord(kProxy, 0, 1, 131, 22) +
                    std::string(66, '\0');
    const PoTreeTree tree = opened(set.write(88));

    EXPECT_NE(tree.findNode(nodeNamed("r0"), {}), nullptr);
    EXPECT_THAT(lookupError(tree, "r1"), HasSubstr("overlaps that of node r0,"));
    EXPECT_THAT(lookupError(tree, "r2"), HasSubstr("overlaps that of node r0,"));
}

TEST(HostileHierarchy, FewerRecordsThanAnnouncedFailOnlyTheNodesWithoutOne)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 0b11, 1, 0, 0) + hierarchyRecord(kLeaf, 0, 6, 0, 0);
    const PoTreeTree tree = opened(set.write());

    EXPECT_EQ(tree.findNode(nodeNamed("r0"), {})->pointCount, 6U);
    EXPECT_THAT(
        lookupError(tree, "r1"),
        AllOf(HasSubstr("announces node r1"), HasSubstr("expected one record per node"))
    );
}

TEST(HostileHierarchy, MoreRecordsThanNodesAreIgnored)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kLeaf, 0, 6, 0, 0) + hierarchyRecord(kLeaf, 0xFF, 7, 0, 0);
    const Octree::Octree octree(set.write(), 1.0);

    EXPECT_EQ(octree.nodeInfo(octree.root()).pointCount, 0U);  // no bytes, so no points
    EXPECT_TRUE(octree.children(octree.root()).empty());
}

TEST(HostileHierarchy, AMillionAnnouncedChildrenCostNoMoreThanTheRecordsThatExist)
{
    TestDataSet set;
    for (int i = 0; i < 40000; ++i)
    {
        set.hierarchy += hierarchyRecord(kNormal, 0xFF, 1, 0, 0);
    }
    const PoTreeTree tree = opened(set.write());

    EXPECT_NE(tree.findNode(nodeNamed("r7"), {}), nullptr);
    // 1 + 8 + ... + 8^5 = 37449 nodes have records, so level 6 is incomplete
    EXPECT_NE(tree.findNode(nodeNamed("r77777"), {}), nullptr);
    EXPECT_THAT(lookupError(tree, "r777777"), HasSubstr("ends before its record"));
}

TEST(HostileHierarchy, DeepestLevelReportsNoChildren)
{
    // one chain of 21 levels; the last record announces children all the same
    TestDataSet set;
    for (int level = 0; level <= 21; ++level)
    {
        set.hierarchy += hierarchyRecord(kNormal, 1, 1, 0, 0);
    }
    const Octree::Octree octree(set.write(), 1.0);
    const OctreeNodeId deepest = nodeNamed("r" + std::string(21, '0'));

    EXPECT_TRUE(octree.isLeaf(deepest));
    EXPECT_TRUE(octree.children(deepest).empty());
}

TEST(HostileHierarchy, FileThatShrinksWhileItIsOpen)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(kNormal, 1, 1, 0, 0) + hierarchyRecord(kProxy, 0, 1, 44, 22) +
                    hierarchyRecord(kLeaf, 0, 1, 0, 0);
    const PoTreeTree tree = opened(set.write(44));
    EXPECT_NE(tree.findNode(nodeNamed("r"), {}), nullptr);

    std::filesystem::resize_file(set.file("hierarchy.bin"), 50);

    EXPECT_THAT(
        lookupError(tree, "r0"),
        AllOf(
            HasSubstr("hierarchy.bin: the file was changed while it was open"),
            HasSubstr("it had 66 bytes and now has 50")
        )
    );
    EXPECT_NE(tree.findNode(nodeNamed("r"), {}), nullptr);
}
}  // namespace
