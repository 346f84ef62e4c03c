#include "samples/EptWriter.h"
#include "samples/Random.h"
#include "samples/writeSampleDataset.h"
#include "tests/samples/fromHex.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <zstd.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using Octree::OctreeNodeId;
using Samples::Cube;
using Samples::EptDataType;
using Samples::EptDimension;
using Samples::eptKey;
using Samples::EptSummary;
using Samples::EptType;
using Samples::EptWriterOptions;
using Samples::SampleNode;
using Samples::SamplePoint;
using Samples::WrittenTile;

SamplePoint at(double x, double y, double z)
{
    return {.x = x, .y = y, .z = z};
}

std::string fileOf(const TemporaryFolder& folder, const std::string& name)
{
    return TemporaryFolder::read(folder.path() / name);
}

nlohmann::json jsonOf(const TemporaryFolder& folder, const std::string& name)
{
    return nlohmann::json::parse(fileOf(folder, name));
}

/// One byte a point, which says which one it is, in the cube from the origin to (8, 8, 8).
EptWriterOptions labelOptions()
{
    EptWriterOptions options;
    options.schema = {{"Classification", EptType::Unsigned, 1}};
    options.cube = Cube{{0, 0, 0}, 8};
    return options;
}

std::vector<SamplePoint> cloud()
{
    Samples::Random random(12);
    std::vector<SamplePoint> points(4000);
    for (SamplePoint& point : points)
    {
        point.x = random.between(0, 8);
        point.y = random.between(0, 8);
        point.z = random.between(0, 8);
    }
    return points;
}

TEST(EptWriter, RowOfARealPoint)
{
    const TemporaryFolder folder;
    EptWriterOptions options;
    options.schema = {
        {"Intensity", EptType::Unsigned, 2},
        {"X", EptType::Signed, 4, 0.00025, 515385},
        {"Y", EptType::Signed, 4, 0.00025, 4918361},
        {"Z", EptType::Signed, 4, 0.00025, 2331},
        {"Classification", EptType::Unsigned, 1},
    };
    const SamplePoint point{.x = 515396.1665, .y = 4918348.4715, .z = 2323.85525, .intensity = 191};

    Samples::writeEpt(folder.path(), std::vector{point}, options);

    EXPECT_EQ(
        fileOf(folder, "ept-data/0-0-0-0.bin"), fromHex("bf 00 7a ae 00 00 3e 3c ff ff 5d 90 ff ff 00")
    );
}

TEST(EptWriter, DimensionsOfEverySizeAndType)
{
    const TemporaryFolder folder;
    EptWriterOptions options;
    options.schema = {
        {"X", EptType::Float, 4},
        {"Y", EptType::Float, 8, 2.0},
        {"Z", EptType::Signed, 8},
        {"Red", EptType::Unsigned, 1, 256.0},
        {"Green", EptType::Signed, 2, std::nullopt, 1000.0},
        {"PointSourceId", EptType::Unsigned, 8},
    };
    SamplePoint point = at(1.5, -4, -2);
    point.r = 0x7f00;
    point.g = 999;
    point.scanIndex = 0x01020304;

    Samples::writeEpt(folder.path(), std::vector{point}, options);

    EXPECT_EQ(
        fileOf(folder, "ept-data/0-0-0-0.bin"),
        fromHex("00 00 c0 3f"
                "00 00 00 00 00 00 00 c0"
                "fe ff ff ff ff ff ff ff"
                "7f"
                "ff ff"
                "04 03 02 01 00 00 00 00")
    );
}

TEST(EptWriter, ZstandardTilesUnpackToTheBinaryOnes)
{
    const TemporaryFolder binary;
    const TemporaryFolder packed;
    EptWriterOptions options;

    Samples::writeEpt(binary.path(), cloud(), options);
    options.dataType = EptDataType::Zstandard;
    Samples::writeEpt(packed.path(), cloud(), options);

    const std::string frame = fileOf(packed, "ept-data/0-0-0-0.zst");
    EXPECT_EQ(ZSTD_getFrameContentSize(frame.data(), frame.size()), ZSTD_CONTENTSIZE_UNKNOWN);
    const std::string rows = fileOf(binary, "ept-data/0-0-0-0.bin");
    std::string unpacked(rows.size() + 1, '\0');
    unpacked.resize(ZSTD_decompress(unpacked.data(), unpacked.size(), frame.data(), frame.size()));
    EXPECT_EQ(unpacked, rows);
    EXPECT_EQ(jsonOf(packed, "ept.json")["dataType"], "zstandard");
}

TEST(EptWriter, FramesSayTheirLengthWhenAsked)
{
    const TemporaryFolder folder;
    EptWriterOptions options = labelOptions();
    options.dataType = EptDataType::Zstandard;
    options.hasContentSize = true;

    Samples::writeEpt(folder.path(), std::vector{at(1, 1, 1), at(2, 2, 2)}, options);

    const std::string frame = fileOf(folder, "ept-data/0-0-0-0.zst");
    EXPECT_EQ(ZSTD_getFrameContentSize(frame.data(), frame.size()), 2U);
}

TEST(EptWriter, KeysAreDepthAndCellCoordinates)
{
    EXPECT_EQ(eptKey({}), "0-0-0-0");
    EXPECT_EQ(eptKey(OctreeNodeId::fromName("r4")), "1-1-0-0");
    EXPECT_EQ(eptKey(OctreeNodeId::fromName("r1")), "1-0-0-1");
    EXPECT_EQ(eptKey(OctreeNodeId::fromName("r46")), "2-3-1-0");
    EXPECT_EQ(eptKey(OctreeNodeId::fromName("r643")), "3-6-5-1");
}

TEST(EptWriter, HierarchyCountsThePointsOfEachNode)
{
    const TemporaryFolder folder;
    const std::vector<SampleNode> nodes{{"r", {at(0, 0, 0), at(7, 7, 7)}, 0}, {"r42", {at(5, 3, 1)}, 0}};

    Samples::writeEptNodes(folder.path(), nodes, labelOptions());

    const nlohmann::json expected{{"0-0-0-0", 2}, {"1-1-0-0", 0}, {"2-2-1-0", 1}};
    EXPECT_EQ(jsonOf(folder, "ept-hierarchy/0-0-0-0.json"), expected);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "ept-data" / "1-1-0-0.bin"));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "ept-data" / "2-2-1-0.bin"));
}

TEST(EptWriter, SubtreesMoveToFilesOfTheirOwn)
{
    const TemporaryFolder folder;
    EptWriterOptions options = labelOptions();
    options.hierarchyStep = 1;
    const std::vector<SampleNode> nodes{
        {"r", {at(0, 0, 0)}, 0},
        {"r0", {at(1, 0, 0)}, 0},
        {"r4", {at(5, 0, 0)}, 0},
        {"r47", {at(7, 3, 3), at(7, 2, 3)}, 0}};

    const EptSummary summary = Samples::writeEptNodes(folder.path(), nodes, options);

    const nlohmann::json root{{"0-0-0-0", 1}, {"1-0-0-0", 1}, {"1-1-0-0", -1}};
    const nlohmann::json part{{"1-1-0-0", 1}, {"2-3-1-1", 2}};
    EXPECT_EQ(jsonOf(folder, "ept-hierarchy/0-0-0-0.json"), root);
    EXPECT_EQ(jsonOf(folder, "ept-hierarchy/1-1-0-0.json"), part);
    EXPECT_EQ(summary.hierarchyFileCount, 2U);
}

TEST(EptWriter, DescriptionHasBoundsSpanAndSchema)
{
    const TemporaryFolder folder;
    EptWriterOptions options;
    options.cube = Cube{{-8, -8, -8}, 16};
    options.span = 64;
    options.schema = {
        {"X", EptType::Signed, 4, 0.5, 1.0}, {"Y", EptType::Float, 8}, {"Z", EptType::Float, 8, 0.25}};

    Samples::writeEpt(folder.path(), std::vector{at(-1.5, 2, 3), at(4, -5.25, 6)}, options);

    const nlohmann::json ept = jsonOf(folder, "ept.json");
    EXPECT_EQ(ept["bounds"], nlohmann::json({-8.0, -8.0, -8.0, 8.0, 8.0, 8.0}));
    EXPECT_EQ(ept["boundsConforming"], nlohmann::json({-2.0, -6.0, 3.0, 4.0, 2.0, 6.0}));
    EXPECT_EQ(ept["span"], 64);
    EXPECT_EQ(ept["points"], 2);
    EXPECT_EQ(ept["dataType"], "binary");
    const nlohmann::json x{{"name", "X"}, {"size", 4}, {"type", "signed"}, {"scale", 0.5}, {"offset", 1.0}};
    const nlohmann::json y{{"name", "Y"}, {"size", 8}, {"type", "float"}};
    EXPECT_EQ(ept["schema"][0], x);
    EXPECT_EQ(ept["schema"][1], y);
}

TEST(EptWriter, StatisticsAreGivenWhenAsked)
{
    const TemporaryFolder folder;
    EptWriterOptions options;
    options.hasStatistics = true;
    options.schema = {{"X", EptType::Signed, 4, 0.5}};

    Samples::writeEpt(folder.path(), std::vector{at(1.1, 0, 0), at(7.6, 0, 0)}, options);

    const nlohmann::json x = jsonOf(folder, "ept.json")["schema"][0];
    EXPECT_EQ(x["minimum"], 1.0);
    EXPECT_EQ(x["maximum"], 7.5);
}

TEST(EptWriter, PutsPointsIntoTheNodesThatTheOctreeWriterChooses)
{
    const TemporaryFolder tiles;
    const TemporaryFolder octree;
    EptWriterOptions options = labelOptions();
    options.leafCapacity = 100;
    options.span = 8;
    Samples::OctreeWriterOptions octreeOptions;
    octreeOptions.cube = options.cube;
    octreeOptions.spacing = 1;
    octreeOptions.leafCapacity = 100;

    const EptSummary written = Samples::writeEpt(tiles.path(), cloud(), options);
    const Samples::OctreeSummary expected = Samples::writeOctree(octree.path(), cloud(), octreeOptions);

    EXPECT_GT(written.tiles.size(), 20U);
    const auto equal = [](const WrittenTile& tile, const Samples::WrittenNode& node)
    { return tile.id == node.id && tile.pointCount == node.pointCount; };
    EXPECT_TRUE(std::ranges::equal(written.tiles, expected.nodes, equal));
}

TEST(EptWriter, EachPointLiesInOneTileInTheOrderGiven)
{
    const TemporaryFolder folder;
    std::vector<SamplePoint> points = cloud();
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        points[i].scanIndex = static_cast<std::uint32_t>(i);
    }
    EptWriterOptions options = labelOptions();
    options.schema = {{"OriginId", EptType::Unsigned, 4}};
    options.leafCapacity = 100;
    options.span = 8;

    const EptSummary summary = Samples::writeEpt(folder.path(), points, options);

    std::vector<int> seen(points.size());
    for (const WrittenTile& tile : summary.tiles)
    {
        const std::string bytes = fileOf(folder, "ept-data/" + tile.key + ".bin");
        ASSERT_EQ(bytes.size(), 4 * tile.pointCount);
        std::int64_t last = -1;
        for (std::size_t i = 0; i < bytes.size(); i += 4)
        {
            const auto byte = [&](std::size_t k)
            { return static_cast<std::int64_t>(static_cast<unsigned char>(bytes[i + k])); };
            const std::int64_t index = byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
            EXPECT_GT(index, last);
            last = index;
            ++seen.at(static_cast<std::size_t>(index));
        }
    }
    EXPECT_TRUE(std::ranges::all_of(seen, [](int count) { return count == 1; }));
}

TEST(EptWriter, LeavesNothingOfAnEarlierDataSet)
{
    const TemporaryFolder folder;
    Samples::writeEptNodes(folder.path(), std::vector{SampleNode{"r0", {at(1, 1, 1)}, 0}}, labelOptions());

    Samples::writeEptNodes(folder.path(), std::vector{SampleNode{"r", {at(1, 1, 1)}, 0}}, labelOptions());

    EXPECT_FALSE(std::filesystem::exists(folder.path() / "ept-data" / "1-0-0-0.bin"));
}

TEST(EptWriter, RefusesWhatItCannotWrite)
{
    const TemporaryFolder folder;
    const auto messageWith = [&](const EptDimension& dimension)
    {
        EptWriterOptions options = labelOptions();
        options.schema = {dimension};
        SamplePoint point = at(300, -1, 0);
        return messageOf<std::invalid_argument>(
            [&] { Samples::writeEpt(folder.path(), std::vector{point}, options); }
        );
    };

    EXPECT_EQ(messageWith({"Mood", EptType::Unsigned, 1}), "Dimension Mood is unknown");
    EXPECT_EQ(messageWith({"X", EptType::Unsigned, 3}), "Dimension X has an impossible size");
    EXPECT_EQ(messageWith({"X", EptType::Float, 2}), "Dimension X has an impossible size");
    EXPECT_EQ(messageWith({"X", EptType::Unsigned, 1}), "A value does not fit dimension X");
    EXPECT_EQ(messageWith({"Y", EptType::Unsigned, 8}), "A value does not fit dimension Y");
}

TEST(SampleEpt, HoldsTheSampleCloudInTheNodesOfTheSampleOctree)
{
    const TemporaryFolder tiles;
    const TemporaryFolder octree;

    const EptSummary written = Samples::writeSampleEpt(tiles.path(), {.points = 60000});
    const Samples::OctreeSummary expected = Samples::writeSampleDataset(octree.path(), {.points = 60000});

    EXPECT_EQ(written.pointCount, 60000U);
    const auto equal = [](const WrittenTile& tile, const Samples::WrittenNode& node)
    { return tile.id == node.id && tile.pointCount == node.pointCount; };
    EXPECT_TRUE(std::ranges::equal(written.tiles, expected.nodes, equal));
}
}  // namespace
