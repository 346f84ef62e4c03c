#include "octree/Octree.h"
#include "samples/OctreeWriter.h"
#include "tests/octree/TestDataSet.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{
using Octree::NodePointData;
using Octree::NodeVisibilityType;
using Octree::OctreeNodeId;
using Samples::Attribute;
using Samples::SampleNode;
using Samples::SamplePoint;
using testing::AllOf;
using testing::HasSubstr;

// --- frame
// -----------------------------------------------------------------------------------------------------

TEST(Octree, BoxesAndSpacingAreRelativeToThePositionAndScaled)
{
    TestDataSet set;
    set.metadata["attributes"][0]["min"] = {101.0, 202.0, 303.0};
    set.metadata["attributes"][0]["max"] = {110.0, 211.0, 312.0};
    set.setRoot(1, plainPosition(0, 0, 0));
    const Octree::Octree octree(set.write(), 2.0);

    EXPECT_EQ(octree.position(), (Math::Point<double, 3>(100.0, 200.0, 300.0)));
    EXPECT_EQ(octree.unitScale(), 2.0);
    EXPECT_EQ(octree.boundingCube(), (Math::NBoundingBox<float, 3>({0, 0, 0}, {32, 32, 32})));
    EXPECT_EQ(octree.boundingBox(), (Math::NBoundingBox<float, 3>({2, 4, 6}, {20, 22, 24})));
    EXPECT_EQ(octree.absoluteBoundingCube().max(), (Math::Point<double, 3>(116.0, 216.0, 316.0)));
    EXPECT_EQ(octree.absoluteBoundingBox().min(), (Math::Point<double, 3>(101.0, 202.0, 303.0)));
    EXPECT_EQ(octree.spacing(), 0.25F);
    EXPECT_EQ(octree.spacing(3), 0.03125F);
}

TEST(Octree, NodeCubesAreHalvedWithXAsTheHighestBit)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(0, 0, 0));
    const Octree::Octree octree(set.write(), 1.0);

    EXPECT_EQ(octree.boundingCube(octree.root()), octree.boundingCube());
    EXPECT_EQ(octree.boundingCube(nodeNamed("r4")), (Math::NBoundingBox<float, 3>({8, 0, 0}, {16, 8, 8})));
    EXPECT_EQ(octree.boundingCube(nodeNamed("r2")), (Math::NBoundingBox<float, 3>({0, 8, 0}, {8, 16, 8})));
    EXPECT_EQ(octree.boundingCube(nodeNamed("r17")), (Math::NBoundingBox<float, 3>({4, 4, 12}, {8, 8, 16})));
}

TEST(Octree, PositionsAreScaledAfterTheyAreMadeRelative)
{
    TestDataSet set;
    set.metadata["scale"] = {0.5, 0.25, 0.125};
    set.setRoot(1, plainPosition(3, 5, 7));
    Octree::Octree octree(set.write(), 10.0);
    NodePointData data;

    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));
    EXPECT_EQ(data.position(0), (Math::Point<double, 3>(15.0, 12.5, 8.75)));

    octree.setUnitScale(1.0);
    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));
    EXPECT_EQ(data.position(0), (Math::Point<double, 3>(1.5, 1.25, 0.875)));
    EXPECT_EQ(octree.boundingCube().max().x, 16.0F);
}

TEST(Octree, ProjectedCoordinatesLoseNothingInSinglePrecision)
{
    // points a millimetre apart at coordinates where single precision resolves half a metre
    TestDataSet set;
    set.metadata["offset"] = {637000.0, 5651000.0, 300.0};
    set.metadata["scale"] = {0.001, 0.001, 0.001};
    set.metadata["boundingBox"] = {
        {"min", {637000.0, 5651000.0, 300.0}}, {"max", {637016.0, 5651016.0, 316.0}}};
    set.setRoot(2, plainPosition(1, 1, 1) + plainPosition(2, 2, 2));
    const Octree::Octree octree(set.write(), 1.0);
    NodePointData data;

    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));

    EXPECT_FLOAT_EQ(static_cast<float>(data.position(1).y) - static_cast<float>(data.position(0).y), 0.001F);
    EXPECT_EQ(data.position(1).y + octree.position().y, 5651000.002);
    EXPECT_NEAR(octree.boundingCube().max().y, 16.0F, 1e-6F);
}

TEST(Octree, AFarCubeOverAnOffsetOfZeroLosesNothingInSinglePrecision)
{
    TestDataSet set;
    set.metadata["offset"] = {0.0, 0.0, 0.0};
    set.metadata["scale"] = {0.001, 0.001, 0.001};
    set.metadata["boundingBox"] = {
        {"min", {637000.0, 1651000.0, 300.0}}, {"max", {637016.0, 1651016.0, 316.0}}};
    set.setRoot(
        2, plainPosition(637000001, 1651000001, 300001) + plainPosition(637000002, 1651000002, 300002)
    );
    const Octree::Octree octree(set.write(), 2.0);
    NodePointData data;

    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));

    EXPECT_EQ(octree.position(), (Math::Point<double, 3>(637000.0, 1651000.0, 300.0)));
    EXPECT_NEAR(data.position(0).x, 0.002, 1e-9);
    EXPECT_NEAR(static_cast<float>(data.position(1).y) - static_cast<float>(data.position(0).y), 0.002, 1e-8);
    EXPECT_NEAR(data.position(1).z, 0.004, 1e-9);
    EXPECT_EQ(octree.boundingCube(), (Math::NBoundingBox<float, 3>({0, 0, 0}, {32, 32, 32})));
}

TEST(Octree, RefusesUnitScalesThatAreNone)
{
    TestDataSet set;
    set.setRoot(1, plainPosition(0, 0, 0));
    const Octree::Location location = set.write();
    Octree::Octree octree(location, 3.0);

    for (const double bad : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
    {
        EXPECT_THROW(Octree::Octree(location, bad), std::invalid_argument) << bad;
        EXPECT_THROW(octree.setUnitScale(bad), std::invalid_argument) << bad;
    }

    EXPECT_EQ(octree.unitScale(), 3.0);
}

TEST(Octree, NameFallsBackToTheFolder)
{
    TestDataSet set;
    set.metadata["name"] = "";
    set.setRoot(1, plainPosition(0, 0, 0));
    const Octree::Location location = set.write();

    EXPECT_EQ(Octree::Octree(location, 1.0).name(), location.folder().filename().string());
}

TEST(Octree, AttributeMaskNamesWhatPointsHave)
{
    TestDataSet set;
    set.metadata["attributes"].push_back(attributeEntry("classification", "uint8", 1));
    set.metadata["attributes"].push_back(attributeEntry("normal_oct16", "uint16", 2));
    set.setRoot(1, plainPosition(0, 0, 0) + std::string(3, '\0'));
    const Octree::Octree octree(set.write(), 1.0);

    EXPECT_EQ(
        octree.attributeMask(),
        unsigned{Octree::kPositionAttribute} | Octree::kClassificationAttribute | Octree::kNormalAttribute
    );
}

// --- written data sets
// -------------------------------------------------------------------------------------------

constexpr Samples::OctreeEncoding kBothEncodings[] = {
    Samples::OctreeEncoding::Brotli, Samples::OctreeEncoding::Default};

SamplePoint pointAt(double x, double y, double z, std::uint32_t scanIndex = 0)
{
    SamplePoint point;
    point.x = x;
    point.y = y;
    point.z = z;
    point.scanIndex = scanIndex;
    return point;
}

const Samples::Cube kCube{{1000.0, 2000.0, 30.0}, 8.0};

/// A root with two points, r0 with one, r7 with three.
std::vector<SampleNode> smallTree()
{
    return {
        {"r", {pointAt(1000.5, 2000.5, 30.5, 1), pointAt(1007.5, 2007.5, 37.5, 2)}},
        {"r0", {pointAt(1001.0, 2001.0, 31.0, 3)}},
        {"r7",
         {pointAt(1005.0, 2005.0, 35.0, 4),
          pointAt(1006.0, 2006.0, 36.0, 5),
          pointAt(1007.0, 2007.0, 37.0, 6)}},
    };
}

Samples::OctreeWriterOptions optionsWith(std::vector<Attribute> attributes)
{
    Samples::OctreeWriterOptions options;
    options.attributes = std::move(attributes);
    options.cube = kCube;
    return options;
}

Octree::Location written(
    const TemporaryFolder& folder,
    const std::vector<SampleNode>& nodes,
    const Samples::OctreeWriterOptions& options
)
{
    Samples::writeOctreeNodes(folder.path(), nodes, options);
    return PoTree::FileSystemLocation(folder.path());
}

TEST(Octree, ReadsWhatTheWriterWroteInBothEncodings)
{
    for (const Samples::OctreeEncoding encoding : kBothEncodings)
    {
        Samples::OctreeWriterOptions options = optionsWith(
            {Attribute::GpsTime,
             Attribute::Position,
             Attribute::ScanIndex,
             Attribute::ReturnNumber,
             Attribute::Rgb,
             Attribute::Intensity,
             Attribute::Classification,
             Attribute::Visibility,
             Attribute::NormalX,
             Attribute::NormalY,
             Attribute::NormalZ}
        );
        options.encoding = encoding;
        SamplePoint point = pointAt(1003.25, 2004.5, 36.125, 123456);
        point.r = 10;
        point.g = 20;
        point.b = 30;
        point.intensity = 40000;
        point.classification = 6;
        point.visibility = 1;
        point.nx = 0.0F;
        point.ny = 1.0F;
        point.nz = 0.0F;
        const TemporaryFolder folder;
        const Octree::Octree octree(written(folder, {{"r", {point}}}, options), 1.0);
        NodePointData data;

        ASSERT_TRUE(octree.readNodePointData(octree.root(), data));

        ASSERT_EQ(data.size(), 1U);
        EXPECT_NEAR(data.position(0).x + octree.position().x, 1003.25, 0.0005);  // half a stored unit
        EXPECT_NEAR(data.position(0).y + octree.position().y, 2004.5, 0.0005);
        EXPECT_NEAR(data.position(0).z + octree.position().z, 36.125, 0.0005);
        EXPECT_EQ(data.columns().colors[0], Math::Color(10, 20, 30, 255));
        EXPECT_EQ(data.columns().intensities[0], 40000U);
        EXPECT_EQ(data.columns().classifications[0], 6U);
        EXPECT_EQ(data.columns().scanIndices[0], 123456U);
        EXPECT_EQ(data.columns().visibilities[0], 1U);
        EXPECT_EQ(data.columns().normals[0], (Math::Point<float, 3>(0.0F, 1.0F, 0.0F)));
    }
}

TEST(Octree, DeepTreeWithManyProxiesIsWalkedToItsEnd)
{
    // a chunk for every level: each node with children is a proxy in its parent's chunk
    Samples::OctreeWriterOptions options = optionsWith({Attribute::Position});
    options.stepSize = 1;
    std::vector<SampleNode> nodes;
    for (std::size_t level = 0; level <= 21; ++level)
    {
        nodes.push_back({"r" + std::string(level, '5'), {pointAt(1004.0, 2004.0, 34.0)}});
    }
    const TemporaryFolder folder;
    const Octree::Octree octree(written(folder, nodes, options), 1.0);

    OctreeNodeId id = octree.root();
    while (!octree.isLeaf(id))
    {
        const Octree::OctreeChildNodeIdRange children = octree.children(id);
        ASSERT_EQ(children.size(), 1U);
        id = *children.begin();
    }

    EXPECT_EQ(id.level(), 21U);
    EXPECT_EQ(octree.nodeInfo(id).pointCount, 1U);
}

// --- visibility and external attributes
// ------------------------------------------------------------------------

TEST(Octree, RecordFlagsTellTheVisibilityOfWholeNodes)
{
    std::vector<SampleNode> nodes = smallTree();
    nodes[1].flags = 1;
    nodes[2].flags = 2;
    const TemporaryFolder folder;
    const Octree::Octree octree(
        written(folder, nodes, optionsWith({Attribute::Position, Attribute::Visibility})), 1.0
    );

    EXPECT_EQ(octree.nodeVisibility(octree.root()), NodeVisibilityType::PerPoint);
    EXPECT_EQ(octree.nodeVisibility(nodeNamed("r0")), NodeVisibilityType::Visible);
    EXPECT_EQ(octree.nodeVisibility(nodeNamed("r7")), NodeVisibilityType::Hidden);
}

TEST(Octree, RecordFlagsMeanNothingWithoutAVisibilityAttribute)
{
    std::vector<SampleNode> nodes = smallTree();
    nodes[2].flags = 2;
    const TemporaryFolder folder;
    const Octree::Octree octree(written(folder, nodes, optionsWith({Attribute::Position})), 1.0);

    EXPECT_EQ(octree.nodeVisibility(nodeNamed("r7")), NodeVisibilityType::PerPoint);
}

TEST(Octree, VisibilityIsNotLookedUpWhereNothingKnowsIt)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(0, 1, 1, 0, 12) + hierarchyRecord(2, 0, 1, 999, 22);  // a broken proxy
    const Octree::Octree octree(set.write(), 1.0);

    EXPECT_EQ(octree.nodeVisibility(nodeNamed("r0")), NodeVisibilityType::PerPoint);
}

/// A data set with positions and one over the same octree with visibilities alone: r says for each point,
/// r0 is visible, r7 hidden as a whole.
class ExternalVisibility : public testing::Test
{
protected:
    ExternalVisibility()
    {
        std::vector<SampleNode> nodes = smallTree();
        nodes[0].points[1].visibility = 7;
        nodes[1].flags = 1;
        nodes[2].flags = 2;
        nodes[1].points[0].visibility = 9;  // which the flag overrules
        externalLocation = written(mExternalFolder, nodes, optionsWith({Attribute::Visibility}));
    }

    TemporaryFolder mMainFolder;
    TemporaryFolder mExternalFolder;

    Octree::Location mainLocation = written(mMainFolder, smallTree(), optionsWith({Attribute::Position}));
    Octree::Location externalLocation = mainLocation;
    Octree::Octree octree{mainLocation, 1.0};
};

TEST_F(ExternalVisibility, IsAbsentBeforeItIsAdded)
{
    NodePointData data;

    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));

    EXPECT_TRUE(data.columns().visibilities.empty());
    EXPECT_FALSE(Octree::hasVisibility(octree.attributeMask()));
    EXPECT_EQ(octree.nodeVisibility(nodeNamed("r7")), NodeVisibilityType::PerPoint);
}

TEST_F(ExternalVisibility, FillsWhatTheMainDataSetLacks)
{
    octree.addExternalAttributeLocation(externalLocation);
    NodePointData data;

    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));

    EXPECT_TRUE(Octree::hasVisibility(octree.attributeMask()));
    EXPECT_EQ(data.columns().visibilities, (std::vector<std::uint8_t>{0, 7}));
    EXPECT_EQ(data.columns().positions.size(), 2U);
}

TEST_F(ExternalVisibility, FlagsStandForAllPointsOfTheNode)
{
    octree.addExternalAttributeLocation(externalLocation);
    NodePointData data;

    ASSERT_TRUE(octree.readNodePointData(nodeNamed("r0"), data));
    EXPECT_EQ(data.columns().visibilities, (std::vector<std::uint8_t>{0}));

    ASSERT_TRUE(octree.readNodePointData(nodeNamed("r7"), data));
    EXPECT_EQ(data.columns().visibilities, (std::vector<std::uint8_t>{1, 1, 1}));

    EXPECT_EQ(octree.nodeVisibility(nodeNamed("r0")), NodeVisibilityType::Visible);
    EXPECT_EQ(octree.nodeVisibility(nodeNamed("r7")), NodeVisibilityType::Hidden);
    EXPECT_EQ(octree.nodeVisibility(octree.root()), NodeVisibilityType::PerPoint);
}

TEST_F(ExternalVisibility, FlagsNeedNoPointData)
{
    std::filesystem::resize_file(mExternalFolder.path() / "octree.bin", 0);
    octree.addExternalAttributeLocation(externalLocation);
    NodePointData data;

    EXPECT_TRUE(octree.readNodePointData(nodeNamed("r7"), data));
    EXPECT_EQ(data.columns().visibilities, (std::vector<std::uint8_t>{1, 1, 1}));
    EXPECT_FALSE(octree.getNodePointData(octree.root(), data));
}

TEST_F(ExternalVisibility, IsNotReadWhenItIsNotWanted)
{
    std::filesystem::resize_file(mExternalFolder.path() / "octree.bin", 0);
    octree.addExternalAttributeLocation(externalLocation);
    NodePointData data(Octree::kPositionAttribute);

    EXPECT_TRUE(octree.readNodePointData(octree.root(), data));
    EXPECT_TRUE(data.columns().visibilities.empty());
}

TEST_F(ExternalVisibility, NodesThatItLacksHaveNoVisibilities)
{
    const TemporaryFolder folder;
    octree.addExternalAttributeLocation(
        written(folder, {smallTree()[0]}, optionsWith({Attribute::Visibility}))
    );
    NodePointData data;

    ASSERT_TRUE(octree.readNodePointData(nodeNamed("r7"), data));

    EXPECT_EQ(data.size(), 3U);
    EXPECT_TRUE(data.columns().visibilities.empty());
    EXPECT_EQ(octree.nodeVisibility(nodeNamed("r7")), NodeVisibilityType::PerPoint);
}

TEST_F(ExternalVisibility, AnotherNumberOfPointsIsAnError)
{
    std::vector<SampleNode> nodes = smallTree();
    nodes[2].points.pop_back();
    const TemporaryFolder folder;
    octree.addExternalAttributeLocation(written(folder, nodes, optionsWith({Attribute::Visibility})));
    NodePointData data;

    const std::string error =
        messageOf<std::runtime_error>([&] { octree.readNodePointData(nodeNamed("r7"), data); });

    EXPECT_THAT(error, AllOf(HasSubstr("node r7 has 2 points"), HasSubstr("expected 3")));
    EXPECT_EQ(data.size(), 0U);
    EXPECT_TRUE(octree.readNodePointData(octree.root(), data));
}

TEST_F(ExternalVisibility, CachesAreToldApartByScaleAndExternalDataSets)
{
    EXPECT_EQ(octree.cacheIdentifier(), (Octree::CacheIdentifier{mainLocation, 1.0}));

    octree.setUnitScale(2.0);
    octree.addExternalAttributeLocation(externalLocation);

    EXPECT_EQ(octree.cacheIdentifier(), (Octree::CacheIdentifier{mainLocation, 2.0, {externalLocation}}));

    octree.setShownIntensityRange(Octree::IntensityRange{3, 9});
    const Octree::CacheIdentifier spread{mainLocation, 2.0, {externalLocation}, Octree::IntensityRange{3, 9}};
    EXPECT_EQ(octree.cacheIdentifier(), spread);
    EXPECT_NE(octree.cacheIdentifier(), (Octree::CacheIdentifier{mainLocation, 2.0, {externalLocation}}));
}

TEST_F(ExternalVisibility, AStopAtAnyMomentLeavesThePointsAsTheyAre)
{
    // enough points that reading takes a while, in both data sets
    constexpr std::size_t kPointCount = 20000;
    constexpr int kSteps = 200;
    std::vector<SampleNode> nodes{{"r", std::vector<SamplePoint>(kPointCount, smallTree()[0].points[0])}};
    const TemporaryFolder mainFolder;
    const TemporaryFolder externalFolder;
    Octree::Octree large(written(mainFolder, nodes, optionsWith({Attribute::Position})), 1.0);
    large.addExternalAttributeLocation(
        written(externalFolder, nodes, optionsWith({Attribute::Visibility, Attribute::Intensity}))
    );
    using Clock = std::chrono::steady_clock;
    NodePointData data;
    ASSERT_TRUE(large.readNodePointData(large.root(), data));
    const auto start = Clock::now();
    ASSERT_TRUE(large.readNodePointData(large.root(), data));
    const Clock::duration duration = Clock::now() - start;

    const std::vector<std::uint16_t> before(3, 12345);
    int stopped = 0;
    for (int step = 0; step < kSteps; ++step)
    {
        data.columns().clear();
        data.columns().pointCount = before.size();
        data.columns().intensities = before;
        std::stop_source stop;
        if (step == 0)
        {
            stop.request_stop();  // on a busy machine the thread may come too late each time
        }
        std::thread stopper(
            [&, stopTime = Clock::now() + duration * step / kSteps]
            {
                while (Clock::now() < stopTime)
                {
                }
                stop.request_stop();
            }
        );
        const bool isRead = large.readNodePointData(large.root(), data, stop.get_token());
        stopper.join();
        if (!isRead)
        {
            ++stopped;
            ASSERT_EQ(data.size(), before.size());
            ASSERT_EQ(data.columns().intensities, before);
            ASSERT_TRUE(data.columns().positions.empty());
        }
        else
        {
            ASSERT_EQ(data.columns().visibilities.size(), kPointCount);
        }
    }
    EXPECT_GT(stopped, 0);
}

TEST_F(ExternalVisibility, AnotherCubeIsRefused)
{
    Samples::OctreeWriterOptions options = optionsWith({Attribute::Visibility});
    options.cube = Samples::Cube{{1000.0, 2000.0, 30.0}, 16.0};
    const TemporaryFolder folder;
    const Octree::Location location = written(folder, smallTree(), options);

    const std::string error =
        messageOf<std::runtime_error>([&] { octree.addExternalAttributeLocation(location); });

    EXPECT_THAT(error, AllOf(HasSubstr("metadata.json"), HasSubstr("expected the same octree")));
    EXPECT_FALSE(Octree::hasVisibility(octree.attributeMask()));
}

TEST_F(ExternalVisibility, ALocationThatCannotBeOpenedChangesNothing)
{
    EXPECT_THROW(
        octree.addExternalAttributeLocation(PoTree::FileSystemLocation("no such folder")), std::runtime_error
    );
    EXPECT_FALSE(Octree::hasVisibility(octree.attributeMask()));
}

TEST_F(ExternalVisibility, AttributesOfTheMainDataSetComeFirst)
{
    std::vector<SampleNode> nodes = smallTree();
    nodes[0].points[0].visibility = 3;
    const TemporaryFolder folder;
    Octree::Octree both(
        written(folder, nodes, optionsWith({Attribute::Position, Attribute::Visibility})), 1.0
    );
    both.addExternalAttributeLocation(externalLocation);
    NodePointData data;

    ASSERT_TRUE(both.readNodePointData(both.root(), data));

    EXPECT_EQ(data.columns().visibilities, (std::vector<std::uint8_t>{3, 0}));
}

TEST_F(ExternalVisibility, ColorsAndIntensitiesComeFromOutsideToo)
{
    std::vector<SampleNode> nodes = smallTree();
    nodes[1].points[0].r = 200;
    nodes[1].points[0].intensity = 77;
    const TemporaryFolder folder;
    octree.addExternalAttributeLocation(
        written(folder, nodes, optionsWith({Attribute::Intensity, Attribute::Rgb}))
    );
    NodePointData data;

    ASSERT_TRUE(octree.readNodePointData(nodeNamed("r0"), data));

    EXPECT_EQ(data.columns().colors, std::vector<Math::Color>{Math::Color(200, 0, 0, 255)});
    EXPECT_EQ(data.columns().intensities, std::vector<std::uint16_t>{77});
    EXPECT_EQ(octree.intensityRange(), std::pair(std::uint16_t{0}, std::uint16_t{77}));
}

// --- threads
// -----------------------------------------------------------------------------------------------------

TEST_F(ExternalVisibility, ReadersRunWhileScaleAndExternalsChange)
{
    std::atomic<bool> consistent{true};
    {
        std::vector<std::jthread> readers;
        for (int reader = 0; reader < 3; ++reader)
        {
            readers.emplace_back(
                [&]
                {
                    NodePointData data;
                    for (int round = 0; round < 200; ++round)
                    {
                        for (const OctreeNodeId& id : octree.children(octree.root()))
                        {
                            const bool read = octree.getNodePointData(id, data);
                            const std::size_t visibilities = data.columns().visibilities.size();
                            const float edge = octree.boundingCube().max().x;
                            if (!read || (visibilities != 0 && visibilities != data.size()) ||
                                (edge != 8.0F && edge != 16.0F))
                            {
                                consistent = false;
                            }
                            static_cast<void>(octree.nodeVisibility(id));
                            static_cast<void>(octree.attributeMask());
                            static_cast<void>(octree.spacing(2));
                        }
                    }
                }
            );
        }
        octree.addExternalAttributeLocation(externalLocation);
        for (int round = 0; round < 200; ++round)
        {
            octree.setUnitScale(round % 2 == 0 ? 2.0 : 1.0);
        }
    }

    EXPECT_TRUE(consistent);
}
}  // namespace
