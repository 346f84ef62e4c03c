#include "octree/NodePointData.h"
#include "octree/decodeOctahedralNormal.h"
#include "octree/fillWithGrey.h"
#include "octree/potree/MortonTriple.h"
#include "octree/potree/decodePoints.h"
#include "tests/octree/TestDataSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace
{
using Math::Color;
using Octree::NodePointColumns;
using Octree::NodePointData;
using PoTree::MortonTriple;

std::uint64_t wordOf(const std::string& bytes)
{
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data(), sizeof word);
    return word;
}

/// A data set whose only node has these attributes and bytes, read with the wanted attributes.
NodePointData rootData(
    const std::string& encoding,
    const nlohmann::json& attributes,
    std::uint32_t pointCount,
    const std::string& bytes,
    unsigned wanted = Octree::kAllAttributes
)
{
    TestDataSet set(encoding);
    set.metadata["attributes"] = attributes;
    set.setRoot(pointCount, encoding == "BROTLI" ? brotliEncoded(bytes) : bytes);
    const Octree::Octree octree(set.write(), 1.0);
    NodePointData data(wanted);
    EXPECT_TRUE(octree.readNodePointData(octree.root(), data));
    return data;
}

// --- codes
// ---------------------------------------------------------------------------------------------------

TEST(MortonTriple, TakesApartTheCodesOfARealPoint)
{
    const MortonTriple upper(wordOf(std::string("\x73\x08\x08\x00\x00\x00\x00\x00", 8)));
    const MortonTriple lower(wordOf(std::string("\x81\x5e\x24\xb0\x2c\x61\x00\x00", 8)));

    EXPECT_EQ(upper.first(), 5U);
    EXPECT_EQ(upper.second(), 67U);
    EXPECT_EQ(upper.third(), 10U);
    EXPECT_EQ(lower.first(), 0x80d9U);
    EXPECT_EQ(lower.second(), 0xbe0cU);
    EXPECT_EQ(lower.third(), 0x0a18U);
}

TEST(MortonTriple, TakesApartColorsOfEightAndSixteenBits)
{
    const MortonTriple narrow(0x1FB58AU);
    EXPECT_EQ(narrow.first(), 114U);
    EXPECT_EQ(narrow.second(), 125U);
    EXPECT_EQ(narrow.third(), 100U);

    const MortonTriple wide(0x24924D249249U);
    EXPECT_EQ(wide.first(), 65535U);
    EXPECT_EQ(wide.second(), 0U);
    EXPECT_EQ(wide.third(), 256U);
}

TEST(MortonTriple, EachOfTheFortyEightBitsHasItsPlace)
{
    for (unsigned bit = 0; bit < 48; ++bit)
    {
        const MortonTriple triple(std::uint64_t{1} << bit);
        EXPECT_EQ(triple.first(), bit % 3 == 0 ? 1U << (bit / 3) : 0U) << bit;
        EXPECT_EQ(triple.second(), bit % 3 == 1 ? 1U << (bit / 3) : 0U) << bit;
        EXPECT_EQ(triple.third(), bit % 3 == 2 ? 1U << (bit / 3) : 0U) << bit;
    }
}

TEST(MortonTriple, IgnoresTheBitsAboveTheFortyEighth)
{
    const MortonTriple triple(0xFFFF000000000000U);

    EXPECT_EQ(triple.first() + triple.second() + triple.third(), 0U);
}

TEST(OctahedralNormal, MiddleOfTheCodesIsAlmostUp)
{
    const Math::Point<float, 3> normal = Octree::decodeOctahedralNormal(0x7F7F);

    // 127 / 255 * 2 - 1 = -1/255 on both axes, z = 1 - 2/255
    EXPECT_NEAR(normal.x, -0.00395, 1e-4);
    EXPECT_NEAR(normal.y, -0.00395, 1e-4);
    EXPECT_NEAR(normal.z, 0.99998, 1e-4);
}

TEST(OctahedralNormal, CornersAllMeanDown)
{
    for (const unsigned code : {0x0000U, 0x00FFU, 0xFF00U, 0xFFFFU})
    {
        const Math::Point<float, 3> normal = Octree::decodeOctahedralNormal(static_cast<std::uint16_t>(code));
        EXPECT_NEAR(normal.x, 0.0F, 1e-6F) << code;
        EXPECT_NEAR(normal.y, 0.0F, 1e-6F) << code;
        EXPECT_NEAR(normal.z, -1.0F, 1e-6F) << code;
    }
}

TEST(OctahedralNormal, HighByteIsX)
{
    // x = 1, y = -1/255, so z = -1/255 and the fold gives x = 1 - 1/255, y = -0
    const Math::Point<float, 3> normal = Octree::decodeOctahedralNormal(0xFF7F);

    EXPECT_NEAR(normal.x, 0.99999, 1e-4);
    EXPECT_NEAR(normal.y, 0.0, 1e-4);
    EXPECT_NEAR(normal.z, -0.00394, 1e-4);
}

TEST(OctahedralNormal, EveryCodeGivesAUnitVector)
{
    for (unsigned code = 0; code < 65536; ++code)
    {
        const Math::Point<float, 3> n = Octree::decodeOctahedralNormal(static_cast<std::uint16_t>(code));
        ASSERT_NEAR(n.x * n.x + n.y * n.y + n.z * n.z, 1.0F, 1e-5F) << code;
    }
}

TEST(FillWithGrey, SpreadsTheRangeOverAllGreys)
{
    const std::vector<std::uint16_t> intensities{100, 200, 300, 301, 610};
    std::vector<Color> colors;

    Octree::fillWithGrey(intensities, {100, 610}, colors);

    const std::vector<unsigned> greys{0, 50, 100, 100, 255};  // (i - 100) * 255 / 510, cut
    ASSERT_EQ(colors.size(), greys.size());
    for (std::size_t i = 0; i < greys.size(); ++i)
    {
        const auto grey = static_cast<unsigned char>(greys[i]);
        EXPECT_EQ(colors[i], Color(grey, grey, grey, 255)) << i;
    }
}

TEST(FillWithGrey, CutsOffIntensitiesOutsideTheDeclaredRange)
{
    std::vector<Color> colors;

    Octree::fillWithGrey(std::vector<std::uint16_t>{0, 65535}, {100, 200}, colors);

    EXPECT_EQ(colors, (std::vector<Color>{Color(0, 0, 0, 255), Color(255, 255, 255, 255)}));
}

TEST(FillWithGrey, EqualsWholeNumberDivisionForTheFullRange)
{
    std::vector<std::uint16_t> intensities;
    for (unsigned i = 0; i <= 65535; ++i)
    {
        intensities.push_back(static_cast<std::uint16_t>(i));
    }
    std::vector<Color> colors;

    Octree::fillWithGrey(intensities, {0, 65535}, colors);

    for (unsigned i = 0; i <= 65535; ++i)
    {
        ASSERT_EQ(colors[i].r(), i * 255U / 65535U) << i;
    }
}

TEST(FillWithGrey, RangeWithoutWidthGivesWhite)
{
    std::vector<Color> colors;

    Octree::fillWithGrey(std::vector<std::uint16_t>{7, 8}, {8, 8}, colors);

    EXPECT_EQ(colors, std::vector<Color>(2, Color::white(255)));
}

// --- nodes
// -----------------------------------------------------------------------------------------------------

const nlohmann::json kPosition = attributeEntry("position", "int32", 12);
const nlohmann::json kRgb = attributeEntry("rgb", "uint16", 6);

/// The code of a position whose coordinates are below 2.
std::string positionCode(unsigned x, unsigned y, unsigned z)
{
    std::string bytes;
    appendNumber(bytes, std::uint64_t{0});
    appendNumber(bytes, std::uint64_t{x | y << 1U | z << 2U});
    return bytes;
}

TEST(NodeDecoding, ColumnsFollowTheAttributeListWhateverItsOrder)
{
    std::string columns = "\x07\x08";  // classification of two points
    columns += positionCode(1, 0, 1) + positionCode(0, 1, 1);
    columns += std::string(2 * 8, '\x55');        // gps-time, to be skipped
    appendNumber(columns, std::uint32_t{70000});  // ScanIndex
    appendNumber(columns, std::uint32_t{4294967295U});
    appendNumber(columns, std::uint64_t{0b111000});  // r = g = b = 2
    appendNumber(columns, std::uint64_t{0b001});     // r = 1
    appendNumber(columns, std::uint16_t{500});       // intensity
    appendNumber(columns, std::uint16_t{65535});
    columns += std::string("\x00\x01", 2);  // visibility

    const NodePointData data = rootData(
        "BROTLI",
        {attributeEntry("classification", "uint8", 1),
         kPosition,
         attributeEntry("gps-time", "double", 8),
         attributeEntry("ScanIndex", "uint32", 4),
         kRgb,
         attributeEntry("intensity", "uint16", 2),
         attributeEntry("visibility", "uint8", 1)},
        2,
        columns
    );

    const NodePointColumns& points = data.columns();
    EXPECT_EQ(data.size(), 2U);
    EXPECT_EQ(data.position(0), (Math::Point<double, 3>(1.0, 0.0, 1.0)));
    EXPECT_EQ(data.position(1), (Math::Point<double, 3>(0.0, 1.0, 1.0)));
    EXPECT_EQ(points.classifications, (std::vector<std::uint8_t>{7, 8}));
    EXPECT_EQ(points.scanIndices, (std::vector<std::uint32_t>{70000, 4294967295U}));
    EXPECT_EQ(points.colors, (std::vector<Color>{Color(2, 2, 2, 255), Color(1, 0, 0, 255)}));
    EXPECT_EQ(points.intensities, (std::vector<std::uint16_t>{500, 65535}));
    EXPECT_EQ(points.visibilities, (std::vector<std::uint8_t>{0, 1}));
    EXPECT_TRUE(points.normals.empty());
    EXPECT_EQ(data.color(1), 0xFF010000U);
}

TEST(NodeDecoding, RowsFollowTheAttributeListWhateverItsOrder)
{
    std::string rows;
    for (int i = 0; i < 2; ++i)
    {
        appendNumber(rows, static_cast<std::uint16_t>(100 + i));  // intensity
        rows += plainPosition(-5 - i, 7, 2147483647);             // signed
        appendNumber(rows, static_cast<std::uint8_t>(40 + i));    // classification
        appendNumber(rows, std::uint16_t{10});
        appendNumber(rows, static_cast<std::uint16_t>(20 + i));
        appendNumber(rows, std::uint16_t{30});
    }

    const NodePointData data = rootData(
        "DEFAULT",
        {attributeEntry("intensity", "uint16", 2),
         kPosition,
         attributeEntry("classification", "uint8", 1),
         kRgb},
        2,
        rows
    );

    const NodePointColumns& points = data.columns();
    EXPECT_EQ(data.position(0), (Math::Point<double, 3>(-5.0, 7.0, 2147483647.0)));
    EXPECT_EQ(data.position(1), (Math::Point<double, 3>(-6.0, 7.0, 2147483647.0)));
    EXPECT_EQ(points.intensities, (std::vector<std::uint16_t>{100, 101}));
    EXPECT_EQ(points.classifications, (std::vector<std::uint8_t>{40, 41}));
    EXPECT_EQ(points.colors, (std::vector<Color>{Color(10, 20, 30, 255), Color(10, 21, 30, 255)}));
}

TEST(NodeDecoding, UpperAndLowerWordMakeThirtyTwoBits)
{
    // all bits of x, no bit of y, the highest bit of z
    std::string code;
    appendNumber(code, std::uint64_t{0x0000249249249249U | std::uint64_t{1} << 47U});
    appendNumber(code, std::uint64_t{0x0000249249249249U & ~std::uint64_t{0}});

    const NodePointData data = rootData("BROTLI", nlohmann::json::array({kPosition}), 1, code);

    EXPECT_EQ(data.position(0), (Math::Point<double, 3>(4294967295.0, 0.0, 2147483648.0)));
}

TEST(NodeDecoding, OnlyWantedAttributesAreFilled)
{
    std::string rows = plainPosition(1, 2, 3);
    rows += "\x05";

    const NodePointData data = rootData(
        "DEFAULT",
        {kPosition, attributeEntry("classification", "uint8", 1)},
        1,
        rows,
        Octree::kClassificationAttribute
    );

    EXPECT_EQ(data.size(), 1U);
    EXPECT_EQ(data.columns().classifications, std::vector<std::uint8_t>{5});
    EXPECT_TRUE(data.columns().positions.empty());
    EXPECT_TRUE(data.columns().colors.empty());
}

TEST(NodeDecoding, WideColorsAreDividedByTwoHundredFiftySixForTheWholeDataSet)
{
    nlohmann::json rgb = kRgb;
    rgb["min"] = {0, 0, 0};
    rgb["max"] = {200, 65535, 200};
    std::string rows = plainPosition(0, 0, 0);
    appendNumber(rows, std::uint16_t{200});  // a dark pixel stays dark although it would fit 8 bits
    appendNumber(rows, std::uint16_t{65535});
    appendNumber(rows, std::uint16_t{256});

    const NodePointData data = rootData("DEFAULT", {kPosition, rgb}, 1, rows);

    EXPECT_EQ(data.columns().colors[0], Color(0, 255, 1, 255));
}

TEST(NodeDecoding, NarrowColorsBeyondTheirDeclaredRangeAreCutOff)
{
    nlohmann::json rgb = kRgb;
    rgb["min"] = {0, 0, 0};
    rgb["max"] = {255, 255, 255};
    std::string rows = plainPosition(0, 0, 0);
    for (const unsigned channel : {255U, 256U, 65535U})
    {
        appendNumber(rows, static_cast<std::uint16_t>(channel));
    }

    const NodePointData data = rootData("DEFAULT", {kPosition, rgb}, 1, rows);

    EXPECT_EQ(data.columns().colors[0], Color(255, 255, 255, 255));
}

TEST(NodeDecoding, WithoutColorsTheIntensityMakesThemGrey)
{
    nlohmann::json intensity = attributeEntry("intensity", "uint16", 2);
    intensity["min"] = {0};
    intensity["max"] = {510};
    std::string rows = plainPosition(0, 0, 0);
    appendNumber(rows, std::uint16_t{255});

    const NodePointData data = rootData(
        "DEFAULT", {kPosition, intensity}, 1, rows, Octree::kPositionAttribute | Octree::kColorAttribute
    );

    EXPECT_EQ(data.columns().colors, std::vector<Color>{Color(127, 127, 127, 255)});
    EXPECT_TRUE(data.columns().intensities.empty()) << "not asked for";
}

TEST(NodeDecoding, WithoutColorsAndIntensityPointsAreWhite)
{
    const NodePointData data =
        rootData("DEFAULT", nlohmann::json::array({kPosition}), 1, plainPosition(0, 0, 0));

    EXPECT_EQ(data.color(0), 0xFFFFFFFFU);
}

TEST(NodeDecoding, OctahedralNormalsComeBeforeThoseOfThreeColumns)
{
    std::string columns = positionCode(0, 0, 0);
    appendNumber(columns, 1.0);
    appendNumber(columns, 0.0);
    appendNumber(columns, 0.0);
    appendNumber(columns, std::uint16_t{0xFFFF});  // straight down

    const NodePointData data = rootData(
        "BROTLI",
        {kPosition,
         attributeEntry("NormalX", "double", 8),
         attributeEntry("NormalY", "double", 8),
         attributeEntry("NormalZ", "double", 8),
         attributeEntry("normal_oct16", "uint16", 2)},
        1,
        columns
    );

    ASSERT_EQ(data.columns().normals.size(), 1U);
    EXPECT_NEAR(data.columns().normals[0].z, -1.0F, 1e-6F);
}

TEST(NodeDecoding, NormalsOfThreeColumnsBecomeSinglePrecision)
{
    std::string columns = positionCode(0, 0, 0) + positionCode(1, 0, 0);
    for (const double value : {0.1, 0.2, 0.3, 0.4, 0.5, 0.6})
    {
        appendNumber(columns, value);
    }

    const NodePointData data = rootData(
        "BROTLI",
        {kPosition,
         attributeEntry("NormalX", "double", 8),
         attributeEntry("NormalY", "double", 8),
         attributeEntry("NormalZ", "double", 8)},
        2,
        columns
    );

    ASSERT_EQ(data.columns().normals.size(), 2U);
    EXPECT_EQ(data.columns().normals[0], (Math::Point<float, 3>(0.1F, 0.3F, 0.5F)));
    EXPECT_EQ(data.columns().normals[1], (Math::Point<float, 3>(0.2F, 0.4F, 0.6F)));
}

TEST(NodeDecoding, TwoNormalColumnsAreNone)
{
    const NodePointData data = rootData(
        "BROTLI",
        {kPosition, attributeEntry("NormalX", "double", 8), attributeEntry("NormalY", "double", 8)},
        1,
        positionCode(0, 0, 0) + std::string(16, '\0')
    );

    EXPECT_EQ(data.size(), 1U);
    EXPECT_TRUE(data.columns().normals.empty());
}

TEST(NodeDecoding, TheDecodedLengthDecidesTheNumberOfPoints)
{
    const std::string two = positionCode(0, 0, 0) + positionCode(1, 1, 1);

    EXPECT_EQ(rootData("BROTLI", nlohmann::json::array({kPosition}), 1, two).size(), 2U);
    EXPECT_EQ(rootData("BROTLI", nlohmann::json::array({kPosition}), 1000, two).size(), 2U);
}

TEST(NodeDecoding, NodeWithoutPointsEmptiesEveryArray)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(0, 1, 1, 0, 12) + hierarchyRecord(1, 0, 0, 0, 0);
    set.addPoints(plainPosition(1, 2, 3));
    const Octree::Octree octree(set.write(), 1.0);
    NodePointData data;
    ASSERT_TRUE(octree.readNodePointData(octree.root(), data));
    ASSERT_EQ(data.size(), 1U);

    EXPECT_TRUE(octree.readNodePointData(nodeNamed("r0"), data));

    EXPECT_EQ(data.size(), 0U);
    EXPECT_TRUE(data.columns().positions.empty());
    EXPECT_TRUE(data.columns().colors.empty());
}

TEST(NodePointColumns, StorageIsKeptUpToTheLimitAndGivenUpAboveIt)
{
    NodePointColumns columns;
    columns.positions.resize(100);
    columns.visibilities.resize(100);
    const std::size_t room = std::max(columns.positions.capacity(), columns.visibilities.capacity());

    columns.releaseAbove(room);
    EXPECT_EQ(columns.positions.size(), 100U);

    columns.visibilities.reserve(room + 1);  // any array counts, in use or not
    columns.releaseAbove(room);
    EXPECT_EQ(columns.positions.capacity(), 0U);
    EXPECT_EQ(columns.visibilities.capacity(), 0U);
}

TEST(NodeDecoding, PointsWithoutBytesAreNone)
{
    TestDataSet set;
    set.hierarchy = hierarchyRecord(1, 0, 4294967295U, 0, 0);
    const Octree::Octree octree(set.write(), 1.0);
    NodePointData data;

    EXPECT_TRUE(octree.readNodePointData(octree.root(), data));

    EXPECT_EQ(data.size(), 0U);
    EXPECT_EQ(octree.nodeInfo(octree.root()).pointCount, 0U);
}
}  // namespace
