#include "samples/OctreeWriter.h"
#include "tests/samples/fromHex.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <brotli/decode.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using Samples::Attribute;
using Samples::Cube;
using Samples::OctreeEncoding;
using Samples::OctreeSummary;
using Samples::OctreeWriterOptions;
using Samples::RecordTypes;
using Samples::SampleNode;
using Samples::SamplePoint;
using Samples::writeOctree;
using Samples::writeOctreeNodes;

std::string unpacked(const std::string& bytes, std::size_t size)
{
    std::string result(size + 1, '\0');
    std::size_t length = result.size();
    const BrotliDecoderResult outcome = BrotliDecoderDecompress(
        bytes.size(),
        reinterpret_cast<const std::uint8_t*>(bytes.data()),
        &length,
        reinterpret_cast<std::uint8_t*>(result.data())
    );
    EXPECT_EQ(outcome, BROTLI_DECODER_RESULT_SUCCESS);
    result.resize(length);
    return result;
}

std::string fileOf(const TemporaryFolder& folder, const char* name)
{
    return TemporaryFolder::read(folder.path() / name);
}

nlohmann::json metadataOf(const TemporaryFolder& folder)
{
    return nlohmann::json::parse(fileOf(folder, "metadata.json"));
}

SamplePoint at(double x, double y, double z)
{
    return {.x = x, .y = y, .z = z};
}

/// Positions alone, one unit per integer, in the cube from the origin to (8, 8, 8), in plain rows.
OctreeWriterOptions plainOptions()
{
    OctreeWriterOptions options;
    options.encoding = OctreeEncoding::Default;
    options.attributes = {Attribute::Position};
    options.scale = {1, 1, 1};
    options.cube = Cube{{0, 0, 0}, 8};
    return options;
}

TEST(OctreeWriter, BrotliColumnsOfARealPoint)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options;
    options.attributes = {Attribute::Position, Attribute::Rgb};
    options.scale = {0.01, 0.01, 0.01};
    options.offset = {636001.76, 848935.2, 406.26};
    const SamplePoint point{.x = 636132.91, .y = 848972.23, .z = 427.89, .r = 114, .g = 125, .b = 100};

    writeOctree(folder.path(), std::vector{point}, options);

    EXPECT_EQ(
        unpacked(fileOf(folder, "octree.bin"), 24),
        fromHex("00 00 00 00 00 00 00 00 bf f2 1b 99 9c 00 00 00 8a b5 1f 00 00 00 00 00")
    );
}

TEST(OctreeWriter, PlainRowOfARealPoint)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options;
    options.encoding = OctreeEncoding::Default;
    options.attributes = {
        Attribute::Position,
        Attribute::Intensity,
        Attribute::ReturnNumber,
        Attribute::Classification,
        Attribute::Rgb};
    options.scale = {0.01, 0.01, 0.01};
    options.offset = {636001.76, 848935.2, 406.26};
    const SamplePoint point{
        .x = 636222.44,
        .y = 849154.65,
        .z = 427.99,
        .r = 104,
        .g = 120,
        .b = 94,
        .intensity = 95,
        .classification = 1};

    writeOctree(folder.path(), std::vector{point}, options);

    EXPECT_EQ(
        fileOf(folder, "octree.bin"),
        fromHex("34 56 00 00 b9 55 00 00 7d 08 00 00 5f 00 01 01 68 00 78 00 5e 00")
    );
}

TEST(OctreeWriter, ColumnsFollowTheOrderOfTheAttributes)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options;
    options.attributes = {
        Attribute::Classification, Attribute::ScanIndex, Attribute::Position, Attribute::Visibility};
    options.scale = {1, 1, 1};
    SamplePoint first = at(0, 0, 0);
    first.classification = 7;
    first.scanIndex = 0x01020304;
    SamplePoint second = at(1, 0, 0);
    second.classification = 9;
    second.visibility = 1;

    writeOctree(folder.path(), std::vector{second, first}, options);

    EXPECT_EQ(
        unpacked(fileOf(folder, "octree.bin"), 44),
        fromHex("07 09"
                "04 03 02 01 00 00 00 00"
                "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                "00 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00"
                "00 01")
    );
}

TEST(OctreeWriter, NormalsAreWrittenInBothForms)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options = plainOptions();
    options.attributes = {Attribute::NormalOct16, Attribute::NormalX, Attribute::NormalY, Attribute::NormalZ};
    SamplePoint point = at(0, 0, 0);
    point.nx = 1;
    point.ny = -3;
    point.nz = 0;

    writeOctree(folder.path(), std::vector{point}, options);

    // octahedral (1, -3) / 4: 1.25 x 127.5 = 159.4 and 0.25 x 127.5 = 31.9
    EXPECT_EQ(
        fileOf(folder, "octree.bin"),
        fromHex("20 9f 00 00 00 00 00 00 f0 3f 00 00 00 00 00 00 08 c0 00 00 00 00 00 00 00 00")
    );
}

TEST(OctreeWriter, PointsAreSortedByCodeAndEqualOnesStayInOrder)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options = plainOptions();
    options.attributes = {Attribute::Classification};
    std::vector<SamplePoint> points{
        at(0, 0, 1), at(1, 1, 0), at(1, 1, 0), at(0, 1, 0), at(70000, 0, 0), at(0, 0, 0)};
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        points[i].classification = static_cast<std::uint8_t>(i);
    }

    writeOctree(folder.path(), points, options);

    // codes 4, 3, 3, 2, (upper word 1), 0
    EXPECT_EQ(fileOf(folder, "octree.bin"), fromHex("05 03 01 02 00 04"));
}

TEST(OctreeWriter, HierarchyIsBreadthFirstWithProxiesForChunksBelow)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options = plainOptions();
    options.stepSize = 1;
    const std::vector<SampleNode> nodes{
        {"r01", {at(1, 1, 6)}, 0}, {"r", {at(0, 0, 0), at(7, 7, 7)}, 0}, {"r4", {at(5, 0, 0)}, 3}};

    const OctreeSummary summary = writeOctreeNodes(folder.path(), nodes, options);

    EXPECT_EQ(
        fileOf(folder, "hierarchy.bin"),
        fromHex("00 11 02000000 0000000000000000 1800000000000000"   // r
                "02 00 00000000 4200000000000000 2c00000000000000"   // r0, described in the second chunk
                "31 00 01000000 1800000000000000 0c00000000000000"   // r4 with flags
                "00 02 00000000 0000000000000000 0000000000000000"   // r0, without points
                "01 00 01000000 2400000000000000 0c00000000000000")  // r01
    );
    EXPECT_EQ(metadataOf(folder)["hierarchy"]["firstChunkSize"], 66);
    EXPECT_EQ(summary.proxyCount, 1U);
}

TEST(OctreeWriter, RecordTypesCanSayTheOppositeOfTheChildMask)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options = plainOptions();
    options.recordTypes = RecordTypes::Misleading;
    const std::vector<SampleNode> nodes{
        {"r", {at(0, 0, 0)}, 0}, {"r0", {at(1, 0, 0)}, 0}, {"r00", {at(0, 0, 1)}, 0}};

    writeOctreeNodes(folder.path(), nodes, options);

    const std::string hierarchy = fileOf(folder, "hierarchy.bin");
    ASSERT_EQ(hierarchy.size(), 66U);
    EXPECT_EQ(hierarchy.substr(22, 2), fromHex("01 01"));
    EXPECT_EQ(hierarchy.substr(44, 2), fromHex("01 00"));
}

TEST(OctreeWriter, RootOfAMisleadingHierarchyIsNormalEvenAlone)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options = plainOptions();
    options.recordTypes = RecordTypes::Misleading;

    writeOctree(folder.path(), std::vector{at(0, 0, 0)}, options);

    EXPECT_EQ(fileOf(folder, "hierarchy.bin").substr(0, 2), fromHex("00 00"));
}

TEST(OctreeWriter, MetadataDescribesCubeScaleAndEncoding)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options = plainOptions();
    options.scale = {0.5, 0.25, 1};
    options.offset = {-1, -2, -3};
    options.name = "three names";
    options.encoding = OctreeEncoding::Uncompressed;

    writeOctree(folder.path(), std::vector{at(1, 2, 3)}, options);

    const nlohmann::json metadata = metadataOf(folder);
    EXPECT_EQ(metadata["version"], "2.0");
    EXPECT_EQ(metadata["name"], "three names");
    EXPECT_EQ(metadata["points"], 1);
    EXPECT_EQ(metadata["encoding"], "UNCOMPRESSED");
    EXPECT_EQ(metadata["scale"], nlohmann::json({0.5, 0.25, 1.0}));
    EXPECT_EQ(metadata["offset"], nlohmann::json({-1.0, -2.0, -3.0}));
    EXPECT_EQ(metadata["boundingBox"]["min"], nlohmann::json({0.0, 0.0, 0.0}));
    EXPECT_EQ(metadata["boundingBox"]["max"], nlohmann::json({8.0, 8.0, 8.0}));
    EXPECT_EQ(metadata["spacing"], 0.0625);
}

TEST(OctreeWriter, MetadataGivesTheRangesOfTheStoredValues)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options = plainOptions();
    options.attributes = {Attribute::Position, Attribute::Rgb, Attribute::Classification};
    std::vector<SamplePoint> points{at(1.4, 2, 3), at(5, 0.6, 7)};
    points[0].r = 300;
    points[1].b = 65535;
    points[1].classification = 6;

    writeOctree(folder.path(), points, options);

    const nlohmann::json attributes = metadataOf(folder)["attributes"];
    EXPECT_EQ(attributes[0]["name"], "position");
    EXPECT_EQ(attributes[0]["size"], 12);
    EXPECT_EQ(attributes[0]["min"], nlohmann::json({1.0, 1.0, 3.0}));
    EXPECT_EQ(attributes[0]["max"], nlohmann::json({5.0, 2.0, 7.0}));
    EXPECT_EQ(attributes[1]["max"], nlohmann::json({300.0, 0.0, 65535.0}));
    EXPECT_EQ(attributes[2]["max"], nlohmann::json({6.0}));
    EXPECT_EQ(attributes[2]["histogram"][0], 1);
    EXPECT_EQ(attributes[2]["histogram"][6], 1);
}

TEST(OctreeWriter, DataSetsWithoutPointsHaveAnEmptyRoot)
{
    const TemporaryFolder folder;

    const OctreeSummary summary = writeOctree(folder.path(), {}, plainOptions());

    EXPECT_EQ(fileOf(folder, "octree.bin"), "");
    EXPECT_EQ(fileOf(folder, "hierarchy.bin"), fromHex("01 00 00000000 0000000000000000 0000000000000000"));
    EXPECT_EQ(summary.nodes.size(), 1U);
}

TEST(OctreeWriter, TheSameCloudGivesTheSameBytesOnAnyNumberOfThreads)
{
    std::vector<SamplePoint> points;
    for (int i = 0; i < 3000; ++i)
    {
        points.push_back(at(i * 37 % 1009, i * 91 % 997, i * 53 % 991));
    }
    OctreeWriterOptions options;
    options.scale = {0.1, 0.1, 0.1};
    options.spacing = 100;
    options.leafCapacity = 100;
    const TemporaryFolder one;
    const TemporaryFolder other;

    options.threadCount = 1;
    writeOctree(one.path(), points, options);
    options.threadCount = 5;
    const OctreeSummary summary = writeOctree(other.path(), points, options);

    EXPECT_GT(summary.nodes.size(), 10U);
    for (const char* name : {"octree.bin", "hierarchy.bin", "metadata.json"})
    {
        EXPECT_EQ(fileOf(one, name), fileOf(other, name)) << name;
    }
}

TEST(OctreeWriter, RefusesPositionsThatDoNotFitTheirIntegers)
{
    const TemporaryFolder folder;
    OctreeWriterOptions options = plainOptions();
    const auto write = [&](double x) { writeOctree(folder.path(), std::vector{at(x, 0, 0)}, options); };

    EXPECT_NO_THROW(write(-1));
    options.encoding = OctreeEncoding::Brotli;
    for (const double x : {-1.0, 2147483648.0, std::numeric_limits<double>::quiet_NaN()})
    {
        EXPECT_EQ(
            messageOf<std::invalid_argument>([&] { write(x); }), "Position does not fit the octree's integers"
        );
    }
}

TEST(OctreeWriter, RefusesNodesGivenTwice)
{
    const TemporaryFolder folder;
    const std::vector<SampleNode> nodes{{"r1", {at(0, 0, 5)}, 0}, {"r1", {at(0, 0, 6)}, 0}};

    EXPECT_EQ(
        messageOf<std::invalid_argument>([&] { writeOctreeNodes(folder.path(), nodes, plainOptions()); }),
        "Node r1 is given twice"
    );
}

TEST(OctreeWriter, RefusesOptionsOutOfRange)
{
    const TemporaryFolder folder;
    const auto messageWith = [&](auto change)
    {
        OctreeWriterOptions options = plainOptions();
        change(options);
        return messageOf<std::invalid_argument>([&] { writeOctree(folder.path(), {}, options); });
    };

    EXPECT_EQ(
        messageWith([](OctreeWriterOptions& options) { options.scale.y = 0; }), "Scale must be above 0"
    );
    EXPECT_EQ(
        messageWith([](OctreeWriterOptions& options) { options.spacing = -1; }), "Spacing must be above 0"
    );
    EXPECT_EQ(
        messageWith([](OctreeWriterOptions& options) { options.cube->edge = 0; }),
        "Edge of the cube must be above 0"
    );
    EXPECT_EQ(
        messageWith([](OctreeWriterOptions& options) { options.stepSize = 0; }), "Step size must be above 0"
    );
    EXPECT_EQ(
        messageWith([](OctreeWriterOptions& options) { options.maxLevel = 21; }),
        "Deepest level must be at most 20"
    );
    EXPECT_EQ(
        messageWith([](OctreeWriterOptions& options) { options.attributes.clear(); }),
        "At least one attribute must be given"
    );
}

TEST(OctreeWriter, NamesTheFileThatCannotBeWritten)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.path() / "octree.bin");

    const std::string message =
        messageOf<std::runtime_error>([&] { writeOctree(folder.path(), {}, plainOptions()); });

    EXPECT_EQ(message, "Cannot write " + (folder.path() / "octree.bin").string());
}
}  // namespace
