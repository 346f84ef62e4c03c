#include "core/ByteFolder.h"
#include "core/ByteSource.h"
#include "core/MemoryFolder.h"
#include "octree/Octree.h"
#include "octree/Tree.h"
#include "samples/CopcWriter.h"
#include "tests/octree/CopcTestFile.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace
{
using Octree::OctreeNodeId;
using Samples::CopcWriterOptions;
using Samples::SampleNode;
using Samples::SamplePoint;
using testing::ElementsAre;
using testing::HasSubstr;

/// Begin and size of what was read.
using Reads = std::vector<std::pair<std::uint64_t, std::size_t>>;

class CountedSource final : public Core::ByteSource
{
public:
    CountedSource(std::unique_ptr<const Core::ByteSource> source, Reads& reads)
        : mSource(std::move(source)), mReads(reads)
    {
    }

    std::string name() const override { return mSource->name(); }

    std::uint64_t size() const noexcept override { return mSource->size(); }

    Core::SourceIdentity identity() const override { return mSource->identity(); }

    bool read(std::span<const Core::ByteRange> ranges, const std::stop_token& stopToken) const override
    {
        for (const Core::ByteRange& range : ranges)
        {
            mReads.emplace_back(range.offset, range.out.size());
        }
        return mSource->read(ranges, stopToken);
    }

private:
    std::unique_ptr<const Core::ByteSource> mSource;
    Reads& mReads;
};

/// Writes down what is read of its files.
class CountedFolder final : public Core::ByteFolder
{
public:
    explicit CountedFolder(std::shared_ptr<const Core::ByteFolder> folder) : mFolder(std::move(folder)) {}

    std::string name() const override { return mFolder->name(); }

    std::string nameOf(std::string_view file) const override { return mFolder->nameOf(file); }

    std::string title() const override { return mFolder->title(); }

    std::unique_ptr<const Core::ByteSource> open(std::string_view file, const std::stop_token& stopToken)
        const override
    {
        return std::make_unique<const CountedSource>(mFolder->open(file, stopToken), reads);
    }

    bool contains(std::string_view file) const override { return mFolder->contains(file); }

    bool mayHaveFolder(std::string_view folder) const override { return mFolder->mayHaveFolder(folder); }

    mutable Reads reads;

private:
    std::shared_ptr<const Core::ByteFolder> mFolder;
};

SamplePoint colored(std::uint16_t red, std::uint16_t intensity)
{
    return {.x = 1, .y = 2, .z = 3, .r = red, .intensity = intensity};
}

/// A file written for a test, and what the writer says of it.
class CopcTree : public testing::Test
{
protected:
    Octree::Octree written(const std::vector<SampleNode>& nodes, CopcWriterOptions options = {})
    {
        options.cube = Samples::Cube{{0, 0, 0}, 8};
        options.threadCount = 1;
        summary = Samples::writeCopcNodes(folder.path() / "some.copc.laz", nodes, options);
        return Octree::Octree(Octree::Location::fromPath(folder.path() / "some.copc.laz"), 1.0);
    }

    TemporaryFolder folder;
    Samples::CopcSummary summary;
};

Octree::NodePointColumns pointsOf(const Octree::Octree& octree, const std::string& node)
{
    Octree::NodePointData data;
    EXPECT_TRUE(octree.readNodePointData(OctreeNodeId::fromName(node), data));
    return data.columns();
}

TEST_F(CopcTree, ReadsAllPointFormatsWithExtraBytesInBothVersionsOfItems)
{
    const std::vector<SamplePoint> points{
        {.x = 1,
         .y = 2,
         .z = 3,
         .r = 256,
         .g = 512,
         .b = 65535,
         .intensity = 7,
         .classification = 200,
         .scanIndex = 9},
        {.x = 1.5,
         .y = 2.25,
         .z = 3.125,
         .r = 0,
         .g = 1024,
         .b = 300,
         .intensity = 65535,
         .classification = 2}};
    for (const unsigned format : {6U, 7U, 8U})
    {
        for (const std::uint16_t version : {std::uint16_t{3}, std::uint16_t{4}})
        {
            for (const std::size_t extraBytes : {0U, 1U, 7U})
            {
                SCOPED_TRACE(testing::Message() << format << ' ' << version << ' ' << extraBytes);
                const Octree::Octree octree = written(
                    {{.name = "r", .points = points}},
                    {.pointFormat = format, .itemVersion = version, .extraBytes = extraBytes}
                );

                const Octree::NodePointColumns columns = pointsOf(octree, "r");

                EXPECT_EQ(octree.position(), (Math::Point<double, 3>{4, 4, 4}));
                ASSERT_EQ(columns.pointCount, 2U);
                EXPECT_EQ(columns.positions[0], (Math::Point<double, 3>{-3, -2, -1}));
                EXPECT_EQ(columns.positions[1], (Math::Point<double, 3>{-2.5, -1.75, -0.875}));
                EXPECT_THAT(columns.intensities, ElementsAre(7, 65535));
                EXPECT_THAT(columns.classifications, ElementsAre(200, 2));
                EXPECT_THAT(columns.scanIndices, ElementsAre(9U, 0U));
                EXPECT_TRUE(columns.normals.empty());
                EXPECT_EQ(Octree::hasColor(octree.attributeMask()), format != 6);
                if (format == 6)
                {
                    // grey by the range of the root's intensities
                    EXPECT_THAT(
                        columns.colors,
                        ElementsAre(Math::Color(0, 0, 0, 255), Math::Color(255, 255, 255, 255))
                    );
                }
                else
                {
                    EXPECT_THAT(
                        columns.colors, ElementsAre(Math::Color(1, 2, 255, 255), Math::Color(0, 4, 1, 255))
                    );
                }
            }
        }
    }
}

TEST_F(CopcTree, TheRootsColorsDecideHowWideThoseOfAllNodesAre)
{
    const Octree::Octree narrow =
        written({{.name = "r", .points = {colored(255, 0)}}, {.name = "r0", .points = {colored(300, 0)}}});
    EXPECT_EQ(pointsOf(narrow, "r").colors[0].r(), 255);
    EXPECT_EQ(pointsOf(narrow, "r0").colors[0].r(), 255);  // cut off

    const Octree::Octree wide =
        written({{.name = "r", .points = {colored(256, 0)}}, {.name = "r0", .points = {colored(255, 0)}}});
    EXPECT_EQ(pointsOf(wide, "r").colors[0].r(), 1);
    EXPECT_EQ(pointsOf(wide, "r0").colors[0].r(), 0);
}

TEST_F(CopcTree, IntensitiesRangeFromTheRootsSmallestToItsLargest)
{
    const Octree::Octree octree = written(
        {{.name = "r", .points = {colored(0, 40), colored(0, 1000), colored(0, 7)}},
         {.name = "r0", .points = {colored(0, 60000)}}}
    );

    EXPECT_EQ(octree.intensityRange(), (std::pair<std::uint16_t, std::uint16_t>{7, 1000}));
}

TEST_F(CopcTree, BelowARootWithoutPointsTheFirstNodeThatHasSomeDecides)
{
    const Octree::Octree octree = written(
        {{.name = "r30", .points = {colored(999, 5), colored(0, 6)}},
         {.name = "r5", .points = {colored(9, 100)}}}
    );

    EXPECT_EQ(octree.intensityRange(), (std::pair<std::uint16_t, std::uint16_t>{5, 6}));
    EXPECT_EQ(pointsOf(octree, "r30").colors[0].r(), 999 / 256);
    EXPECT_EQ(pointsOf(octree, "r").pointCount, 0U);
    EXPECT_EQ(octree.nodeInfo(octree.root()).childMask, 1U << 3U | 1U << 5U);
}

TEST_F(CopcTree, AFileWithoutPointsHasTheRangesOfNoneAndTheBoundsOfItsCube)
{
    const Octree::Octree octree = written({});

    EXPECT_EQ(octree.intensityRange(), (std::pair<std::uint16_t, std::uint16_t>{0, 65535}));
    EXPECT_EQ(octree.absoluteBoundingBox(), octree.absoluteBoundingCube());
    EXPECT_EQ(pointsOf(octree, "r").pointCount, 0U);
    EXPECT_TRUE(octree.isLeaf(octree.root()));
}

TEST_F(CopcTree, AnOffsetOutsideTheCubeIsNoReferencePosition)
{
    const Octree::Octree octree =
        written({{.name = "r", .points = {colored(0, 0)}}}, {.offset = Math::Point<double, 3>{-100, 5, 100}});

    EXPECT_EQ(octree.position(), (Math::Point<double, 3>{0, 5, 0}));
    EXPECT_NEAR(pointsOf(octree, "r").positions[0].x, 1, 1e-9);  // 101000 thousandths less 100 are rounded
    EXPECT_NEAR(pointsOf(octree, "r").positions[0].y, -3, 1e-9);
}

TEST_F(CopcTree, ARecordOnTheCoordinateSystemIsSteppedOver)
{
    const Octree::Octree octree =
        written({{.name = "r", .points = {colored(0, 3)}}}, {.coordinateSystem = std::string(60000, 'x')});

    EXPECT_EQ(pointsOf(octree, "r").intensities[0], 3);
    EXPECT_EQ(octree.name(), "some");
}

TEST_F(CopcTree, TheExistenceOfChildrenIsKnownAcrossPages)
{
    const std::vector<SampleNode> nodes{
        {.name = "r", .points = {colored(0, 1), colored(0, 2)}},
        {.name = "r0", .points = {colored(0, 3), colored(0, 4), colored(0, 5)}},
        {.name = "r05", .points = {colored(0, 6)}},
        {.name = "r7", .points = {colored(0, 7), colored(0, 8)}}};
    const Octree::Octree octree = written(nodes, {.hierarchyStep = 1});

    const Octree::ChildSummary children = octree.childSummary(octree.root());

    EXPECT_EQ(summary.pageCount, 2U);
    EXPECT_EQ(children.mask, 1U | 1U << 7U);
    EXPECT_EQ(children.fewestPoints, 2U);
    EXPECT_EQ(octree.nodeInfo(OctreeNodeId::fromName("r0")).pointCount, 3U);
    EXPECT_EQ(octree.nodeInfo(OctreeNodeId::fromName("r0")).childMask, 1U << 5U);
    EXPECT_EQ(pointsOf(octree, "r05").pointCount, 1U);
}

TEST_F(CopcTree, PagesAndChunksAreReadByOneRangeEachWhenTheyAreWanted)
{
    static_cast<void>(written(
        {{.name = "r", .points = {colored(0, 1)}},
         {.name = "r0", .points = {colored(0, 2)}},
         {.name = "r05", .points = {colored(0, 3)}}},
        {.hierarchyStep = 1}
    ));
    const auto memory = std::make_shared<Core::MemoryFolder>("set");
    const std::string bytes = TemporaryFolder::read(folder.path() / "some.copc.laz");
    memory->set("x.copc.laz", bytes);
    const auto files = std::make_shared<const CountedFolder>(memory);
    const auto chunkOf = [&](std::size_t i) {
        return Reads::value_type{summary.nodes[i].offset, summary.nodes[i].size};
    };
    const std::uint64_t pages = bytes.size() - 4 * 32;  // two entries each

    const Octree::Octree octree(Octree::Location(Octree::Kind::Copc, files, "x.copc.laz"), 1.0);
    const Reads opening = std::exchange(files->reads, {});
    const std::uint64_t ofChild = octree.nodeInfo(OctreeNodeId::fromName("r0")).pointCount;
    const Reads lookup = std::exchange(files->reads, {});
    static_cast<void>(octree.nodeInfo(OctreeNodeId::fromName("r05")));
    const Reads secondLookup = std::exchange(files->reads, {});
    static_cast<void>(pointsOf(octree, "r05"));
    const Reads points = std::exchange(files->reads, {});

    EXPECT_EQ(ofChild, 1U);
    EXPECT_EQ(opening, (Reads{{0, bytes.size()}, {pages, 64}, chunkOf(0)}));  // the file is a small one
    EXPECT_EQ(lookup, (Reads{{pages + 64, 64}}));
    EXPECT_EQ(secondLookup, Reads{});
    EXPECT_EQ(points, Reads{chunkOf(2)});
}

TEST_F(CopcTree, AStopRequestEndsReadingWithoutAnError)
{
    const Octree::Octree octree = written({{.name = "r", .points = {colored(0, 1)}}});
    std::stop_source stop;
    stop.request_stop();
    Octree::NodePointData data;

    EXPECT_FALSE(octree.readNodePointData(octree.root(), data, stop.get_token()));
}

TEST_F(CopcTree, AFileThatIsReplacedIsNotReadAsIfItWereTheOld)
{
    const Octree::Octree octree = written({{.name = "r", .points = {colored(0, 1)}}});
    CopcWriterOptions options;
    options.cube = Samples::Cube{{0, 0, 0}, 8};
    options.pointFormat = 6;
    const std::vector<SampleNode> other{{.name = "r", .points = {colored(0, 1), colored(0, 2)}}};
    Samples::writeCopcNodes(folder.path() / "some.copc.laz", other, options);
    Octree::NodePointData data;
    const auto read = [&] { static_cast<void>(octree.readNodePointData(octree.root(), data)); };

    EXPECT_THAT(messageOf<std::runtime_error>(read), HasSubstr("some.copc.laz"));
    EXPECT_THAT(
        messageOf<std::runtime_error>(read),
        HasSubstr("some.copc.laz: another file than was opened at first, expected one that stays as it is")
    );
}

TEST_F(CopcTree, ANodeThatIsNotThereIsNamed)
{
    const CopcTestFile file;
    const std::shared_ptr<const Octree::Tree> tree = Octree::openTree(file.write());
    Octree::NodePointColumns columns;

    EXPECT_FALSE(tree->nodeById(OctreeNodeId::fromName("r7"), {}));
    EXPECT_FALSE(tree->childSummary(OctreeNodeId::fromName("r7"), {}));
    EXPECT_EQ(
        messageOf<std::runtime_error>(
            [&] {
                tree->getNodePointData(
                    OctreeNodeId::fromName("r7"), Octree::kAllAttributes, 1.0, columns, {}
                );
            }
        ),
        "Error: set/x.copc.laz: there is no node 1-1-1-1"
    );
}
}  // namespace
