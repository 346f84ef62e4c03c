// Points handed to a sink block by block, against the arrays of the same nodes.

#include "octree/NodePointData.h"
#include "octree/Octree.h"
#include "octree/PointBlock.h"
#include "octree/PointSink.h"
#include "octree/passColumns.h"
#include "samples/OctreeWriter.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/testData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace
{
using Octree::NodePointColumns;
using Octree::NodePointData;
using Octree::OctreeNodeId;
using Octree::PointBlock;
using Samples::Attribute;

constexpr unsigned kWithoutNormals = Octree::kAllAttributes & ~unsigned{Octree::kNormalAttribute};

/// Collects what it is given.
class Collector final : public Octree::PointSink
{
public:
    void begin(std::size_t pointCount, std::size_t visibleCount) override
    {
        ++beginCount;
        columns.pointCount = pointCount;
        announcedVisible = visibleCount;
    }

    void take(PointBlock& block) override
    {
        attributes.push_back(block.attributes);
        const auto add = [&](const auto& from, auto& to)
        { to.insert(to.end(), from.begin(), from.begin() + static_cast<std::ptrdiff_t>(block.pointCount)); };
        for (std::size_t i = 0; i < block.pointCount; ++i)
        {
            columns.positions.emplace_back(block.x[i], block.y[i], block.z[i]);
        }
        add(block.colors, columns.colors);
        add(block.intensities, columns.intensities);
        add(block.classifications, columns.classifications);
        add(block.scanIndices, columns.scanIndices);
        add(block.visibilities, columns.visibilities);
        sizes.push_back(block.pointCount);
    }

    int beginCount = 0;
    std::size_t announcedVisible = 0;
    std::vector<unsigned> attributes;
    std::vector<std::size_t> sizes;
    NodePointColumns columns;
};

/// What the arrays hold, or zeros where there are none.
template <class T>
std::vector<T> orZeros(const std::vector<T>& values, std::size_t count)
{
    return values.empty() ? std::vector<T>(count) : values;
}

void expectSamePoints(const Octree::Octree& octree, const OctreeNodeId& id, unsigned attributes)
{
    NodePointData arrays(attributes);
    ASSERT_TRUE(octree.readNodePointData(id, arrays));
    const NodePointColumns& expected = arrays.columns();
    const std::size_t count = expected.pointCount;
    Collector actual;

    ASSERT_TRUE(octree.passNodePoints(id, attributes, actual));

    EXPECT_EQ(actual.beginCount, 1);
    ASSERT_EQ(actual.columns.pointCount, count);
    EXPECT_EQ(actual.columns.positions, orZeros(expected.positions, count));
    EXPECT_EQ(actual.columns.colors, orZeros(expected.colors, count));
    EXPECT_EQ(actual.columns.intensities, orZeros(expected.intensities, count));
    EXPECT_EQ(actual.columns.classifications, orZeros(expected.classifications, count));
    EXPECT_EQ(actual.columns.scanIndices, orZeros(expected.scanIndices, count));
    EXPECT_EQ(actual.columns.visibilities, orZeros(expected.visibilities, count));
    const auto visible =
        std::count(actual.columns.visibilities.begin(), actual.columns.visibilities.end(), std::uint8_t{0});
    EXPECT_EQ(actual.announcedVisible, static_cast<std::size_t>(visible));
}

std::vector<Samples::SamplePoint> somePoints(std::size_t count)
{
    std::vector<Samples::SamplePoint> points(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto value = static_cast<std::uint16_t>(i * 37);
        points[i].x = static_cast<double>(i % 61) * 0.131;
        points[i].y = static_cast<double>(i % 59) * 0.127;
        points[i].z = static_cast<double>(i % 53) * 0.113;
        points[i].r = value;
        points[i].g = static_cast<std::uint16_t>(65535 - value);
        points[i].b = static_cast<std::uint16_t>(value * 3);
        points[i].intensity = static_cast<std::uint16_t>(value * 5);
        points[i].classification = static_cast<std::uint8_t>(i % 19);
        points[i].scanIndex = static_cast<std::uint32_t>(i * 70001);
        points[i].visibility = i % 7 == 0 || (i > 500 && i < 800) ? 1 : 0;
    }
    return points;
}

/// A data set of one node in a folder of its own.
class PassNodePoints : public testing::Test
{
protected:
    Octree::Location write(
        const std::vector<Attribute>& attributes,
        std::size_t pointCount,
        Samples::OctreeEncoding encoding = Samples::OctreeEncoding::Brotli,
        const std::string& name = "cloud"
    )
    {
        Samples::OctreeWriterOptions options;
        options.attributes = attributes;
        options.encoding = encoding;
        options.cube = Samples::Cube{{0.0, 0.0, 0.0}, 8.0};
        options.threadCount = 1;
        const std::filesystem::path path = folder.path() / name;
        std::filesystem::create_directory(path);
        const std::vector<Samples::SampleNode> nodes{{.name = "r", .points = somePoints(pointCount)}};
        Samples::writeOctreeNodes(path, nodes, options);
        return Octree::Location::fromPath(path);
    }

    Octree::Octree written(const std::vector<Attribute>& attributes, std::size_t pointCount)
    {
        return Octree::Octree(write(attributes, pointCount), 1.0);
    }

    TemporaryFolder folder;
};

const std::vector<Attribute> kEverything{
    Attribute::Position,
    Attribute::Rgb,
    Attribute::Intensity,
    Attribute::Classification,
    Attribute::ScanIndex,
    Attribute::Visibility};

TEST_F(PassNodePoints, BlocksHoldWhatTheArraysHoldInEachEncoding)
{
    for (const auto encoding : {Samples::OctreeEncoding::Brotli, Samples::OctreeEncoding::Default})
    {
        for (const std::size_t count : {1U, 255U, 256U, 257U, 1000U})
        {
            SCOPED_TRACE(count);
            const Octree::Octree octree(
                write(
                    kEverything,
                    count,
                    encoding,
                    std::to_string(static_cast<int>(encoding)) + std::to_string(count)
                ),
                1.0
            );

            expectSamePoints(octree, octree.root(), kWithoutNormals);
        }
    }
}

TEST_F(PassNodePoints, BlocksHoldWhatTheArraysHoldInRealDataSets)
{
    std::vector<std::filesystem::path> paths{testData() / "copc_color12" / "color12.copc.laz"};
    for (const auto& entry : std::filesystem::directory_iterator(testData()))
    {
        if (std::filesystem::exists(entry.path() / "metadata.json") ||
            std::filesystem::exists(entry.path() / "ept.json"))
        {
            paths.push_back(entry.path());
        }
    }
    for (const std::filesystem::path& path : paths)
    {
        SCOPED_TRACE(path.filename().string());
        const Octree::Octree octree(Octree::Location::fromPath(path), 0.5);
        expectSamePoints(octree, octree.root(), kWithoutNormals);
        for (const OctreeNodeId& child : octree.children(octree.root()))
        {
            expectSamePoints(octree, child, kWithoutNormals);
        }
    }
}

TEST_F(PassNodePoints, OnlyTheWantedAttributesAreHandedOver)
{
    const Octree::Octree octree = written(kEverything, 300);

    expectSamePoints(octree, octree.root(), Octree::kPositionAttribute | Octree::kClassificationAttribute);
    Collector sink;
    octree.passNodePoints(octree.root(), Octree::kIntensityAttribute, sink);
    EXPECT_EQ(sink.attributes, (std::vector<unsigned>(2, Octree::kIntensityAttribute)));
    EXPECT_EQ(sink.announcedVisible, 300U);  // nobody asked who is hidden
}

TEST_F(PassNodePoints, FullBlocksComeBeforeTheRest)
{
    const Octree::Octree octree = written(kEverything, 600);
    Collector sink;

    octree.passNodePoints(octree.root(), kWithoutNormals, sink);

    EXPECT_EQ(sink.sizes, (std::vector<std::size_t>{256, 256, 88}));
}

TEST_F(PassNodePoints, WithoutColorsTheyAreGreyByIntensity)
{
    const Octree::Octree octree = written({Attribute::Position, Attribute::Intensity}, 600);

    expectSamePoints(octree, octree.root(), kWithoutNormals);
    expectSamePoints(octree, octree.root(), Octree::kPositionAttribute | Octree::kColorAttribute);
}

TEST_F(PassNodePoints, WithoutColorsAndIntensitiesTheyAreWhite)
{
    const Octree::Octree octree = written({Attribute::Position}, 600);
    Collector sink;

    octree.passNodePoints(octree.root(), kWithoutNormals, sink);

    EXPECT_EQ(sink.columns.colors, std::vector(600, Math::Color::white(255)));
    EXPECT_EQ(
        sink.attributes, std::vector<unsigned>(3, Octree::kPositionAttribute | Octree::kColorAttribute)
    );
}

TEST_F(PassNodePoints, AttributesOfExternalDataSetsCountToo)
{
    Octree::Octree octree = written({Attribute::Position}, 700);
    octree.addExternalAttributeLocation(
        write({Attribute::Visibility, Attribute::Intensity}, 700, Samples::OctreeEncoding::Brotli, "external")
    );

    expectSamePoints(octree, octree.root(), kWithoutNormals);
    Collector sink;
    octree.passNodePoints(octree.root(), kWithoutNormals, sink);
    // The writer sorts points by their place, so only what all have together is known.
    const std::vector<Samples::SamplePoint> points = somePoints(700);
    const auto isVisible = [](const Samples::SamplePoint& point) { return point.visibility == 0; };
    const auto visible = std::count_if(points.begin(), points.end(), isVisible);
    EXPECT_EQ(sink.announcedVisible, static_cast<std::size_t>(visible));
    std::vector<std::uint16_t> intensities;
    std::ranges::transform(points, std::back_inserter(intensities), &Samples::SamplePoint::intensity);
    EXPECT_THAT(sink.columns.intensities, testing::UnorderedElementsAreArray(intensities));
}

TEST_F(PassNodePoints, AfterAStopRequestTheSinkHearsNothing)
{
    const Octree::Octree octree = written(kEverything, 600);
    std::stop_source stop;
    stop.request_stop();
    Collector sink;

    EXPECT_FALSE(octree.passNodePoints(octree.root(), kWithoutNormals, sink, stop.get_token()));

    EXPECT_EQ(sink.beginCount, 0);
    EXPECT_TRUE(sink.sizes.empty());
}

TEST_F(PassNodePoints, ANodeThatDoesNotExistIsAnError)
{
    const Octree::Octree octree = written(kEverything, 10);
    Collector sink;

    EXPECT_THROW(octree.passNodePoints(octree.root().child(1), kWithoutNormals, sink), std::runtime_error);

    EXPECT_EQ(sink.beginCount, 0);
}

TEST(PassColumns, ArraysOfAnotherLengthCountAsAbsent)
{
    NodePointColumns columns;
    columns.pointCount = 2;
    columns.positions = {{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}};
    columns.colors = {Math::Color(1, 2, 3, 4)};
    columns.visibilities = {1, 1, 1};
    Collector sink;

    Octree::passColumns(columns, sink);

    EXPECT_EQ(sink.attributes, std::vector<unsigned>(1, Octree::kPositionAttribute));
    EXPECT_EQ(sink.columns.colors, std::vector(2, Math::Color()));
    EXPECT_EQ(sink.announcedVisible, 2U);
    EXPECT_EQ(sink.columns.positions, columns.positions);
}

TEST(PassColumns, NoPointsAreAnnouncedAndThatIsAll)
{
    Collector sink;

    Octree::passColumns(NodePointColumns(), sink);

    EXPECT_EQ(sink.beginCount, 1);
    EXPECT_TRUE(sink.sizes.empty());
}
}  // namespace
