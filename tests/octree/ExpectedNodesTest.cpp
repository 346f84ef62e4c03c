// Hierarchies and points that lie far away and are expected before they are read.

#include "core/LocalFolder.h"
#include "octree/Location.h"
#include "octree/NodePointData.h"
#include "octree/Octree.h"
#include "samples/CopcWriter.h"
#include "samples/EptWriter.h"
#include "samples/OctreeWriter.h"
#include "tests/support/FarFolder.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{
using Octree::Kind;
using Octree::OctreeNodeId;
using Samples::SampleNode;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr const char* kCopcFile = "set.copc.laz";
const Samples::Cube kCube{{0, 0, 0}, 8};

std::vector<Samples::SamplePoint> points(std::size_t count)
{
    return std::vector<Samples::SamplePoint>(count, {.x = 1, .y = 1, .z = 1, .intensity = 7});
}

OctreeNodeId nodeId(const std::string& name)
{
    return OctreeNodeId::fromName(name);
}

/// A hierarchy in parts: the root's, which has "r" and "r7", and that of "r0", which has "r0" and "r05".
class FarOctree : public testing::TestWithParam<Kind>
{
protected:
    FarOctree()
    {
        const std::vector<SampleNode> nodes{
            {.name = "r", .points = points(2)},
            {.name = "r0", .points = points(3)},
            {.name = "r05", .points = points(4)},
            {.name = "r7", .points = points(5)}};
        if (GetParam() == Kind::PoTree)
        {
            Samples::writeOctreeNodes(folder.path(), nodes, {.cube = kCube, .stepSize = 1, .threadCount = 1});
        }
        else if (GetParam() == Kind::Entwine)
        {
            Samples::writeEptNodes(
                folder.path(), nodes, {.cube = kCube, .hierarchyStep = 1, .threadCount = 1}
            );
        }
        else
        {
            Samples::writeCopcNodes(
                folder.path() / kCopcFile, nodes, {.cube = kCube, .hierarchyStep = 1, .threadCount = 1}
            );
        }
        files = std::make_shared<const FarFolder>(std::make_shared<const Core::LocalFolder>(folder.path()));
        files->log->hasCome = true;
        octree = std::make_unique<Octree::Octree>(
            Octree::Location(GetParam(), files, GetParam() == Kind::Copc ? kCopcFile : ""), 1.0
        );
        static_cast<void>(octree->nodeInfo(octree->root()));
        files->log->hasCome = false;
        files->log->take();
    }

    TemporaryFolder folder;
    std::shared_ptr<const FarFolder> files;
    std::unique_ptr<Octree::Octree> octree;
};

TEST_P(FarOctree, WhatIsKnownOfANodeIsExpectedFirstAndNotReadWhileItIsOnItsWay)
{
    EXPECT_FALSE(octree->expectNode(nodeId("r0")));
    EXPECT_FALSE(octree->expectNode(nodeId("r05")));

    const Lines lines = files->log->take();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], lines[1]);
    EXPECT_THAT(lines[0], testing::StartsWith("expect "));
    EXPECT_THAT(lines[0], testing::EndsWith(" first"));
}

TEST_P(FarOctree, WhatHasComeIsKnownWithoutAnotherRead)
{
    EXPECT_FALSE(octree->expectNode(nodeId("r05")));
    files->log->hasCome = true;

    EXPECT_TRUE(octree->expectNode(nodeId("r05")));

    files->log->take();
    EXPECT_EQ(octree->nodeInfo(nodeId("r05")).pointCount, 4U);
    EXPECT_EQ(octree->nodeInfo(nodeId("r0")).childMask, 1U << 5U);
    EXPECT_THAT(files->log->take(), IsEmpty());
}

TEST_P(FarOctree, WhatIsForgottenIsWhatWasExpected)
{
    EXPECT_FALSE(octree->expectNode(nodeId("r05")));
    const Lines expected = files->log->take();
    ASSERT_EQ(expected.size(), 1U);

    octree->forgetNode(nodeId("r05"));

    const Lines forgotten = files->log->take();
    ASSERT_EQ(forgotten.size(), 1U);
    EXPECT_EQ("expect" + forgotten[0].substr(6) + " first", expected[0]);
}

TEST_P(FarOctree, WhatIsKnownAlreadyIsNotExpected)
{
    EXPECT_TRUE(octree->expectNode(nodeId("r")));
    EXPECT_TRUE(octree->expectNode(nodeId("r7")));
    EXPECT_TRUE(octree->expectNode(nodeId("r3")));  // there is no such node
    octree->forgetNode(nodeId("r7"));

    EXPECT_THAT(files->log->take(), IsEmpty());
}

TEST_P(FarOctree, PointsAreExpectedOnceTheirNodeIsKnown)
{
    octree->expectNodePoints(nodeId("r05"));
    EXPECT_THAT(files->log->take(), IsEmpty());
    static_cast<void>(octree->nodeInfo(nodeId("r05")));
    files->log->take();

    octree->expectNodePoints(nodeId("r05"));
    octree->forgetNodePoints(nodeId("r05"));

    const Lines lines = files->log->take();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], testing::StartsWith("expect "));
    EXPECT_EQ(lines[1], "forget" + lines[0].substr(6));  // not first
}

TEST_P(FarOctree, APartThatCannotBeReadIsReportedWhenTheNodeIsLookedUp)
{
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path()))
    {
        const std::string name = entry.path().filename().string();
        if (name == "1-0-0-0.json" || name == "hierarchy.bin" || name == kCopcFile)
        {
            std::ofstream(entry.path(), std::ios::binary) << "{";
        }
    }
    files->log->hasCome = true;

    EXPECT_TRUE(octree->expectNode(nodeId("r05")));

    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { octree->nodeInfo(nodeId("r05")); }), "Failed to fetch node by id"
    );
}

INSTANTIATE_TEST_SUITE_P(
    Kinds,
    FarOctree,
    testing::Values(Kind::PoTree, Kind::Entwine, Kind::Copc),
    [](const auto& kind)
    {
        return std::string(
            kind.param == Kind::PoTree    ? "ThreeFiles"
            : kind.param == Kind::Entwine ? "Tiles"
                                          : "Copc"
        );
    }
);

TEST(FarTiles, TheFirstFileOfTheHierarchyIsOnItsWayOnceTheyAreOpened)
{
    const TemporaryFolder folder;
    Samples::writeEptNodes(
        folder.path(), std::vector<SampleNode>{{.name = "r", .points = points(1)}}, {.cube = kCube}
    );
    const auto files =
        std::make_shared<const FarFolder>(std::make_shared<const Core::LocalFolder>(folder.path()));

    const Octree::Octree octree(Octree::Location(Kind::Entwine, files), 1.0);

    EXPECT_THAT(files->log->take("expect"), ElementsAre("expect ept-hierarchy/0-0-0-0.json first"));
}

TEST(FarTiles, ATileWithoutPointsIsNotExpected)
{
    const TemporaryFolder folder;
    Samples::writeEptNodes(
        folder.path(), std::vector<SampleNode>{{.name = "r0", .points = points(1)}}, {.cube = kCube}
    );
    const auto files =
        std::make_shared<const FarFolder>(std::make_shared<const Core::LocalFolder>(folder.path()));
    const Octree::Octree octree(Octree::Location(Kind::Entwine, files), 1.0);
    EXPECT_EQ(octree.nodeInfo(octree.root()).pointCount, 0U);
    files->log->take();

    octree.expectNodePoints(octree.root());
    octree.expectNodePoints(nodeId("r0"));

    EXPECT_THAT(files->log->take(), ElementsAre("expect ept-data/1-0-0-0.bin"));
}

/// Points whose intensities lie in another data set, which lies far away.
class FarExternal : public testing::Test
{
protected:
    FarExternal()
    {
        Samples::OctreeWriterOptions options;
        options.cube = kCube;
        options.stepSize = 1;
        options.encoding = Samples::OctreeEncoding::Default;
        options.threadCount = 1;
        const std::vector<SampleNode> nodes{
            {.name = "r", .points = points(2)},
            {.name = "r0", .points = points(3)},
            {.name = "r05", .points = points(4)}};
        options.attributes = {Samples::Attribute::Position};
        Samples::writeOctreeNodes(main.path(), nodes, options);
        options.attributes = {Samples::Attribute::Intensity};
        Samples::writeOctreeNodes(external.path(), nodes, options);
        octree = std::make_unique<Octree::Octree>(Octree::Location::fromPath(main.path()), 1.0);
        files = std::make_shared<const FarFolder>(std::make_shared<const Core::LocalFolder>(external.path()));
        octree->addExternalAttributeLocation(Octree::Location(Kind::PoTree, files));
        files->log->take();
    }

    TemporaryFolder main;
    TemporaryFolder external;
    std::shared_ptr<const FarFolder> files;
    std::unique_ptr<Octree::Octree> octree;
};

TEST_F(FarExternal, ItsHierarchyIsExpectedWithThatOfTheMainDataSet)
{
    EXPECT_FALSE(octree->expectNode(octree->root()));
    EXPECT_THAT(files->log->take(), ElementsAre("expect hierarchy.bin 0+44 first"));
    octree->forgetNode(octree->root());
    EXPECT_THAT(files->log->take(), ElementsAre("forget hierarchy.bin 0+44"));
    files->log->hasCome = true;

    EXPECT_TRUE(octree->expectNode(octree->root()));

    EXPECT_THAT(files->log->take("read"), ElementsAre("read hierarchy.bin 0+44"));
}

TEST_F(FarExternal, ItsValuesAreExpectedWithThePointsThatLackThem)
{
    files->log->hasCome = true;
    EXPECT_TRUE(octree->expectNode(nodeId("r")));
    files->log->take();

    octree->expectNodePoints(nodeId("r"), Octree::kPositionAttribute | Octree::kIntensityAttribute);
    EXPECT_THAT(files->log->take(), ElementsAre("expect octree.bin 0+4"));  // two points
    octree->expectNodePoints(nodeId("r"), Octree::kColorAttribute);         // made of intensities
    EXPECT_THAT(files->log->take(), ElementsAre("expect octree.bin 0+4"));
    octree->forgetNodePoints(nodeId("r"), Octree::kColorAttribute);
    EXPECT_THAT(files->log->take(), ElementsAre("forget octree.bin 0+4"));

    octree->expectNodePoints(nodeId("r"), Octree::kPositionAttribute | Octree::kNormalAttribute);
    EXPECT_THAT(files->log->take(), IsEmpty());  // nothing of it will be read
}

TEST_F(FarExternal, WhatWasExpectedInVainIsForgotten)
{
    files->log->hasCome = true;
    EXPECT_TRUE(octree->expectNode(nodeId("r")));
    std::filesystem::resize_file(main.path() / "octree.bin", 5);
    Octree::NodePointData points;
    octree->expectNodePoints(nodeId("r"));
    files->log->take();

    EXPECT_THROW(octree->readNodePointData(nodeId("r"), points), std::runtime_error);

    EXPECT_THAT(files->log->take(), ElementsAre("forget octree.bin 0+4"));
}
}  // namespace
