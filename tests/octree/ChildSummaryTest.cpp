#include "octree/Octree.h"
#include "samples/OctreeWriter.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/testData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <vector>

namespace
{
using Octree::ChildSummary;
using Octree::OctreeNodeId;

/// The same from one look-up for each node.
ChildSummary summaryOf(const Octree::Octree& octree, const OctreeNodeId& id)
{
    ChildSummary summary;
    summary.mask = octree.nodeInfo(id).childMask;
    for (const OctreeNodeId& child : octree.children(id))
    {
        summary.fewestPoints = std::min(summary.fewestPoints, octree.nodeInfo(child).pointCount);
    }
    return summary;
}

void expectSummariesOfAllNodes(const std::filesystem::path& folder)
{
    const Octree::Octree fresh(Octree::Location::fromPath(folder), 1.0);
    const Octree::Octree other(Octree::Location::fromPath(folder), 1.0);
    std::vector<OctreeNodeId> ids{OctreeNodeId()};
    for (std::size_t i = 0; i < ids.size(); ++i)
    {
        const ChildSummary actual = fresh.childSummary(ids[i]);
        const ChildSummary expected = summaryOf(other, ids[i]);
        ASSERT_EQ(actual.mask, expected.mask) << ids[i].name();
        ASSERT_EQ(actual.fewestPoints, expected.fewestPoints) << ids[i].name();
        const Octree::OctreeChildNodeIdRange children(ids[i], actual.mask);
        ids.insert(ids.end(), children.begin(), children.end());
    }
}

TEST(ChildSummary, IsWhatTheChildrensRecordsSay)
{
    for (const auto& entry : std::filesystem::directory_iterator(testData()))
    {
        if (std::filesystem::exists(entry.path() / "metadata.json") ||
            std::filesystem::exists(entry.path() / "ept.json"))
        {
            SCOPED_TRACE(entry.path().filename().string());
            expectSummariesOfAllNodes(entry.path());
        }
    }
}

TEST(ChildSummary, ChildrenInOtherChunksAndWithoutPointsCount)
{
    const TemporaryFolder folder;
    const std::vector<Samples::SamplePoint> three(3);
    const std::vector<Samples::SampleNode> nodes{
        {.name = "r", .points = three},
        {.name = "r0", .points = three},
        {.name = "r5", .points = std::vector<Samples::SamplePoint>(2)},
        {.name = "r05", .points = three},
        {.name = "r31", .points = three},  // r3 itself has no points
        {.name = "r055", .points = three},
    };
    Samples::OctreeWriterOptions options;
    options.cube = Samples::Cube{{0.0, 0.0, 0.0}, 8.0};
    options.stepSize = 1;
    options.threadCount = 1;
    Samples::writeOctreeNodes(folder.path(), nodes, options);

    expectSummariesOfAllNodes(folder.path());
    const Octree::Octree octree(Octree::Location::fromPath(folder.path()), 1.0);
    EXPECT_EQ(octree.childSummary({}).mask, 0b101001U);
    EXPECT_EQ(octree.childSummary({}).fewestPoints, 0U);
    EXPECT_EQ(octree.childSummary(OctreeNodeId::fromName("r0")).fewestPoints, 3U);
    EXPECT_EQ(
        octree.childSummary(OctreeNodeId::fromName("r5")).fewestPoints,
        std::numeric_limits<std::uint64_t>::max()
    );
}

TEST(ChildSummary, ANodeThatDoesNotExistIsAnError)
{
    const Octree::Octree octree(Octree::Location::fromPath(testData() / "autzen_brotli"), 1.0);

    EXPECT_THROW(octree.childSummary(OctreeNodeId::fromName("r0000000000")), std::runtime_error);
}
}  // namespace
