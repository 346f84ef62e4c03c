#include "octree/Octree.h"
#include "octree/entwine/EntwineTree.h"
#include "tests/octree/EptTestSet.h"
#include "tests/octree/TestDataSet.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace
{
using Entwine::EntwineTree;
using Octree::NodePointColumns;
using Octree::OctreeNodeId;
using testing::HasSubstr;

/// The colours of one point at the cube's minimum.
std::string coloredRow(std::uint16_t red, std::uint16_t green, std::uint16_t blue)
{
    std::string row = plainPosition(0, 0, 0);
    appendNumber(row, red);
    appendNumber(row, green);
    appendNumber(row, blue);
    return row;
}

void addColors(EptTestSet& set)
{
    for (const char* name : {"Red", "Green", "Blue"})
    {
        set.ept["schema"].push_back(dimensionEntry(name, "unsigned", 2));
    }
}

NodePointColumns pointsOf(const EntwineTree& tree, const OctreeNodeId& id = {})
{
    NodePointColumns out;
    EXPECT_TRUE(tree.getNodePointData(id, Octree::kAllAttributes, 1.0, out, {}));
    return out;
}

std::string failureOf(const EptTestSet& set)
{
    const EntwineTree tree(set.write());
    return messageOf<std::runtime_error>([&] { pointsOf(tree); });
}

TEST(EntwineTree, DescriptionSaysWhatTheSchemaSays)
{
    EptTestSet set("zstandard");
    set.ept["schema"].push_back(dimensionEntry("Intensity", "unsigned", 2));
    set.ept["schema"].push_back(dimensionEntry("GpsTime", "float", 8));
    set.ept["schema"][0]["minimum"] = 101;
    set.ept["schema"][0]["maximum"] = 115;
    const EntwineTree tree(set.write());
    const Octree::TreeDescription& description = tree.description();

    EXPECT_EQ(description.encoding, "zstandard");
    EXPECT_EQ(description.spacing, 0.125);
    EXPECT_EQ(description.positionStep, (Math::Point<double, 3>{1, 1, 1}));
    EXPECT_EQ(description.attributeMask, Octree::kPositionAttribute | Octree::kIntensityAttribute);
    ASSERT_EQ(description.attributes.size(), 5U);
    EXPECT_EQ(description.attributes[0].type, "int32");
    EXPECT_THAT(description.attributes[0].min, testing::ElementsAre(101.0));
    EXPECT_EQ(description.attributes[3].type, "uint16");
    EXPECT_EQ(description.attributes[4].type, "double");
    EXPECT_EQ(description.attributes[4].sizeInBytes, 8U);
}

TEST(EntwineTree, FloatingPointCoordinatesHaveNoStep)
{
    EptTestSet set;
    set.ept["schema"][1] = dimensionEntry("Y", "float", 8);

    EXPECT_EQ(EntwineTree(set.write()).description().positionStep, (Math::Point<double, 3>{1, 0, 1}));
}

TEST(EntwineTree, PointsOfBothRowKindsAreRelativeToTheOffset)
{
    const std::string row = plainPosition(1, 2, 3);
    EptTestSet binary("binary");
    binary.setTile("0-0-0-0.bin", row);
    EptTestSet packed("zstandard");
    packed.setTile("0-0-0-0.zst", zstdEncoded(row));

    EXPECT_EQ(pointsOf(EntwineTree(binary.write())).positions[0], (Math::Point<double, 3>{1, 2, 3}));
    EXPECT_EQ(pointsOf(EntwineTree(packed.write())).positions[0], (Math::Point<double, 3>{1, 2, 3}));
}

TEST(EntwineTree, ANodeOfNoPointsNeedsNoTile)
{
    EptTestSet set;
    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 0})");
    const EntwineTree tree(set.write());

    EXPECT_EQ(pointsOf(tree).pointCount, 0U);
    EXPECT_EQ(tree.nodeById({}, {})->pointCount, 0U);
}

TEST(EntwineTree, ANodeThatIsNotListedDoesNotExist)
{
    const EptTestSet set;
    const EntwineTree tree(set.write());

    EXPECT_FALSE(tree.nodeById(nodeNamed("r3"), {}).has_value());
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { pointsOf(tree, nodeNamed("r3")); }),
        HasSubstr("there is no node 1-0-1-1")
    );
}

TEST(EntwineTree, ColorsAreWideWhenTheDeclaredMaximumSaysSo)
{
    EptTestSet set;
    addColors(set);
    for (std::size_t channel = 3; channel < 6; ++channel)
    {
        set.ept["schema"][channel]["minimum"] = 0;
        set.ept["schema"][channel]["maximum"] = channel == 4 ? 256 : 255;
    }
    set.setTile("0-0-0-0.bin", coloredRow(0x0101, 0x20, 0));

    EXPECT_EQ(pointsOf(EntwineTree(set.write())).colors[0], Math::Color(1, 0, 0, 255));
}

TEST(EntwineTree, ColorsWithoutADeclaredRangeAreJudgedByTheRootWhicheverNodeIsReadFirst)
{
    EptTestSet set;
    addColors(set);
    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 1, "1-0-0-0": 1})");
    set.setTile("0-0-0-0.bin", coloredRow(0x1000, 0, 0));
    set.setTile("1-0-0-0.bin", coloredRow(0x00ff, 0x00fe, 0));
    const EntwineTree tree(set.write());

    EXPECT_EQ(pointsOf(tree, nodeNamed("r0")).colors[0], Math::Color(0, 0, 0, 255));
    EXPECT_EQ(pointsOf(tree).colors[0], Math::Color(0x10, 0, 0, 255));
}

TEST(EntwineTree, ColorsBelowAnEmptyRootAreJudgedByTheFirstNodeWithPoints)
{
    EptTestSet set;
    addColors(set);
    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 0, "1-1-0-0": 1})");
    set.setTile("1-1-0-0.bin", coloredRow(0x1000, 0, 0));

    EXPECT_EQ(pointsOf(EntwineTree(set.write()), nodeNamed("r4")).colors[0], Math::Color(0x10, 0, 0, 255));
}

TEST(EntwineTree, ABrokenRootDoesNotKeepOtherPositionsFromBeingRead)
{
    EptTestSet set;
    addColors(set);
    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 1, "1-0-0-0": 1})");
    set.setTile("1-0-0-0.bin", coloredRow(0, 0, 0));
    const EntwineTree tree(set.write());
    NodePointColumns out;

    EXPECT_TRUE(tree.getNodePointData(nodeNamed("r0"), Octree::kPositionAttribute, 1.0, out, {}));
    EXPECT_EQ(out.positions.size(), 1U);
}

TEST(EntwineTree, AMissingTileIsNamed)
{
    EXPECT_THAT(failureOf(EptTestSet()), HasSubstr("0-0-0-0.bin"));
}

TEST(EntwineTree, TilesShorterOrLongerThanTheHierarchySaysAreRefused)
{
    const EptTestSet set;
    for (const std::size_t size : {0U, 11U, 13U, 24U})
    {
        set.setTile("0-0-0-0.bin", std::string(size, '\0'));
        EXPECT_THAT(
            failureOf(set),
            HasSubstr(
                "0-0-0-0.bin: " + std::to_string(size) +
                " bytes, expected 1 points of 12 bytes as the hierarchy says"
            )
        );
    }
}

TEST(EntwineTree, PackedTilesShorterOrLongerThanTheHierarchySaysAreRefused)
{
    const EptTestSet set("zstandard");
    for (const std::size_t size : {0U, 11U, 13U, 24U})
    {
        set.setTile("0-0-0-0.zst", zstdEncoded(std::string(size, '\0')));
        EXPECT_THAT(failureOf(set), HasSubstr("expected 12, that is 1 points of 12 bytes"));
    }
}

TEST(EntwineTree, APackedTileOfMoreBytesThanItCanUnpackToIsNotRead)
{
    const EptTestSet set("zstandard");
    set.setTile("0-0-0-0.zst", std::string(100000, '\0'));

    EXPECT_THAT(failureOf(set), HasSubstr("0-0-0-0.zst: 100000 bytes, expected 1 points of 12 bytes"));
}

TEST(EntwineTree, AHugeCountTakesNoMemory)
{
    EptTestSet set;
    set.setTile("0-0-0-0.bin", plainPosition(0, 0, 0));
    for (const char* const count : {"1000001", "4294967295"})
    {
        set.setHierarchy("0-0-0-0", std::string(R"({"0-0-0-0": )") + count + "}");
        EXPECT_THAT(
            failureOf(set),
            HasSubstr(
                std::string("0-0-0-0.bin: the hierarchy announces ") + count +
                " points, expected at most 1000000"
            )
        );
    }

    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 1000000})");
    for (int i = 0; i < 200; ++i)
    {
        set.ept["schema"].push_back(dimensionEntry("extra" + std::to_string(i), "unsigned", 8));
    }
    EXPECT_THAT(failureOf(set), HasSubstr("are too many, expected at most 268435456 bytes"));
}

TEST(EntwineTree, CoordinatesThatAreNotFiniteNameTheTile)
{
    EptTestSet set;
    set.ept["schema"][2] = dimensionEntry("Z", "float", 4);
    std::string row(8, '\0');
    appendNumber(row, std::numeric_limits<float>::infinity());
    set.setTile("0-0-0-0.bin", row);

    EXPECT_THAT(failureOf(set), HasSubstr("0-0-0-0.bin: bad Z of a point"));
}

TEST(EntwineTree, AFailedLookAtTheColorsOfTheRootIsNotRepeated)
{
    EptTestSet set;
    addColors(set);
    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 1, "1-0-0-0": 1})");
    set.setTile("0-0-0-0.bin", "too short");
    set.setTile("1-0-0-0.bin", coloredRow(0x2000, 0, 0));
    const EntwineTree tree(set.write());
    const auto failure = [&]
    { return messageOf<std::runtime_error>([&] { pointsOf(tree, nodeNamed("r0")); }); };
    const std::string first = failure();
    EXPECT_THAT(first, HasSubstr("0-0-0-0.bin: 9 bytes, expected 1 points"));

    set.setTile("0-0-0-0.bin", coloredRow(0x1000, 0, 0));

    EXPECT_EQ(failure(), first);  // nobody has looked again
    NodePointColumns out;
    EXPECT_TRUE(tree.getNodePointData(nodeNamed("r0"), Octree::kPositionAttribute, 1.0, out, {}));
    EXPECT_EQ(out.positions.size(), 1U);
}

TEST(EntwineTree, AStopRequestLeavesTheOutputAsItIs)
{
    const EptTestSet set;
    set.setTile("0-0-0-0.bin", plainPosition(0, 0, 0));
    const EntwineTree tree(set.write());
    std::stop_source stop;
    stop.request_stop();
    NodePointColumns out;
    out.pointCount = 1;
    out.intensities = {7};

    EXPECT_FALSE(tree.getNodePointData({}, Octree::kAllAttributes, 1.0, out, stop.get_token()));
    EXPECT_THAT(out.intensities, testing::ElementsAre(7));
}

TEST(EntwineTree, ThreadsReadTheSamePointsAtOnce)
{
    EptTestSet set("zstandard");
    addColors(set);
    set.setHierarchy("0-0-0-0", R"({"0-0-0-0": 1, "1-0-0-0": 1, "1-1-1-1": -1})");
    set.setHierarchy("1-1-1-1", R"({"1-1-1-1": 1})");
    set.setTile("0-0-0-0.zst", zstdEncoded(coloredRow(0x1000, 0, 0)));
    set.setTile("1-0-0-0.zst", zstdEncoded(coloredRow(0x2000, 0, 0)));
    set.setTile("1-1-1-1.zst", zstdEncoded(coloredRow(0x3000, 0, 0)));
    const EntwineTree tree(set.write());
    std::vector<int> good(4);
    {
        std::vector<std::jthread> threads;
        for (int& count : good)
        {
            threads.emplace_back(
                [&tree, &count]
                {
                    for (int i = 0; i < 20; ++i)
                    {
                        count += pointsOf(tree).colors[0].r() == 0x10;
                        count += pointsOf(tree, nodeNamed("r0")).colors[0].r() == 0x20;
                        count += pointsOf(tree, nodeNamed("r7")).colors[0].r() == 0x30;
                    }
                }
            );
        }
    }

    EXPECT_THAT(good, testing::Each(60));
}
}  // namespace
