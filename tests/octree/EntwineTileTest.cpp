#include "octree/entwine/Metadata.h"
#include "octree/entwine/rowLayout.h"
#include "octree/entwine/zstdDecode.h"
#include "octree/rows/decodeRows.h"
#include "tests/octree/EptTestSet.h"
#include "tests/octree/TestDataSet.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace
{
using nlohmann::json;
using Octree::NodePointColumns;
using Octree::RowConversion;
using Octree::RowLayout;
using testing::ElementsAre;
using testing::HasSubstr;

std::span<const std::byte> bytesOf(const std::string& text)
{
    return std::as_bytes(std::span(text));
}

/// X, Y and Z of one byte each, then the dimensions given.
RowLayout layoutWith(const json& dimensions)
{
    json document = smallEpt("binary");
    document["schema"] = json::array();
    for (const char* name : {"X", "Y", "Z"})
    {
        document["schema"].push_back(dimensionEntry(name, "unsigned", 1));
    }
    for (const json& dimension : dimensions)
    {
        document["schema"].push_back(dimension);
    }
    return Entwine::rowLayout(Entwine::parseMetadata(document.dump(), "ept.json"));
}

RowLayout layoutOf(const json& schema)
{
    json document = smallEpt("binary");
    document["schema"] = schema;
    return Entwine::rowLayout(Entwine::parseMetadata(document.dump(), "ept.json"));
}

NodePointColumns decoded(
    const RowLayout& layout, const std::string& rows, const RowConversion& conversion = {}
)
{
    NodePointColumns out;
    Octree::decodeRows(layout, conversion, bytesOf(rows), Octree::kAllAttributes, out);
    return out;
}

const std::string kOrigin(3, '\0');

TEST(EntwineTile, DimensionsMayLieInAnyOrder)
{
    json schema = json::array();
    for (const char* name : {"Z", "Intensity", "X", "Y"})
    {
        schema.push_back(dimensionEntry(name, "unsigned", 1));
    }

    const NodePointColumns points = decoded(layoutOf(schema), "\x01\x02\x03\x04\x05\x06\x07\x08");

    ASSERT_EQ(points.pointCount, 2U);
    EXPECT_EQ(points.positions[0], (Math::Point<double, 3>{3, 4, 1}));
    EXPECT_EQ(points.positions[1], (Math::Point<double, 3>{7, 8, 5}));
    EXPECT_THAT(points.intensities, ElementsAre(2, 6));
}

TEST(EntwineTile, IntegersOfEverySizeAreReadWithTheirSign)
{
    for (unsigned size = 1; size <= 8; ++size)
    {
        const RowLayout layout = layoutOf(
            {dimensionEntry("X", "signed", size),
             dimensionEntry("Y", "unsigned", size),
             dimensionEntry("Z", "signed", size)}
        );
        const std::string minusTwo = '\xfe' + std::string(size - 1, '\xff');
        const std::string highest = std::string(size - 1, '\0') + '\x80';

        const NodePointColumns points = decoded(layout, minusTwo + highest + highest);

        const double half = std::ldexp(1.0, static_cast<int>(8 * size) - 1);
        EXPECT_EQ(points.positions[0], (Math::Point<double, 3>{-2.0, half, -half})) << size;
    }
}

TEST(EntwineTile, FloatingPointCoordinatesAreReadInBothSizes)
{
    const RowLayout layout = layoutOf(
        {dimensionEntry("X", "float", 4), dimensionEntry("Y", "float", 8), dimensionEntry("Z", "float", 8)}
    );
    std::string row;
    appendNumber(row, 1.5F);
    appendNumber(row, 637000.123456);
    appendNumber(row, -0.25);

    const NodePointColumns points = decoded(layout, row, {{0, 637000, 0}, 1.0, false});

    EXPECT_EQ(points.positions[0].x, 1.5);
    EXPECT_DOUBLE_EQ(points.positions[0].y, 637000.123456 - 637000);
    EXPECT_EQ(points.positions[0].z, -0.25);
}

TEST(EntwineTile, CoordinatesAreScaledAndRelativeToTheOriginTimesTheUnitScale)
{
    json x = dimensionEntry("X", "unsigned", 1);
    x["scale"] = 0.5;
    x["offset"] = 100;
    const RowLayout layout =
        layoutOf({x, dimensionEntry("Y", "unsigned", 1), dimensionEntry("Z", "unsigned", 1)});

    const NodePointColumns points = decoded(layout, "\x03\x04\x05", {{90, 1, 0}, 10.0, false});

    EXPECT_EQ(points.positions[0], (Math::Point<double, 3>{115, 30, 50}));
}

TEST(EntwineTile, CoordinatesThatAreNotFiniteAreRefused)
{
    const RowLayout layout = layoutOf(
        {dimensionEntry("X", "unsigned", 1),
         dimensionEntry("Y", "float", 8),
         dimensionEntry("Z", "unsigned", 1)}
    );
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -1e300})
    {
        std::string row(1, '\0');
        appendNumber(row, bad);
        row += '\0';
        EXPECT_THAT(
            messageOf<std::runtime_error>([&] { decoded(layout, row); }), HasSubstr("bad Y of a point")
        );
    }
}

TEST(EntwineTile, ColorsAreTakenAsBytesOrDividedByTwoHundredFiftySix)
{
    const RowLayout layout = layoutWith(
        {dimensionEntry("Blue", "unsigned", 2),
         dimensionEntry("Green", "unsigned", 2),
         dimensionEntry("Red", "unsigned", 2)}
    );
    std::string row = kOrigin;
    appendNumber(row, std::uint16_t{0x1234});
    appendNumber(row, std::uint16_t{0x00ff});
    appendNumber(row, std::uint16_t{0x0042});

    EXPECT_TRUE(Octree::hasWideColors(layout, bytesOf(row)));
    EXPECT_EQ(decoded(layout, row, {{}, 1.0, true}).colors[0], Math::Color(0, 0, 0x12, 255));
    EXPECT_EQ(decoded(layout, row, {{}, 1.0, false}).colors[0], Math::Color(0x42, 0xff, 0xff, 255));
}

TEST(EntwineTile, ColorsUpTo255AreNotWide)
{
    const RowLayout layout = layoutWith(
        {dimensionEntry("Red", "unsigned", 2),
         dimensionEntry("Green", "unsigned", 2),
         dimensionEntry("Blue", "unsigned", 2)}
    );
    std::string row = kOrigin;
    for (int channel = 0; channel < 3; ++channel)
    {
        appendNumber(row, std::uint16_t{255});
    }

    EXPECT_FALSE(Octree::hasWideColors(layout, bytesOf(row)));
}

TEST(EntwineTile, TwoChannelsAreNoColor)
{
    const RowLayout layout =
        layoutWith({dimensionEntry("Red", "unsigned", 1), dimensionEntry("Green", "unsigned", 1)});

    EXPECT_FALSE(Octree::hasColor(layout.attributeMask()));
    EXPECT_TRUE(decoded(layout, kOrigin + "\x01\x02").colors.empty());
}

TEST(EntwineTile, ValuesBeyondTheirArrayAreCutToItsRange)
{
    const RowLayout layout =
        layoutWith({dimensionEntry("Intensity", "signed", 4), dimensionEntry("Classification", "unsigned", 2)}
        );
    std::string rows = kOrigin;
    appendNumber(rows, std::int32_t{-1});
    appendNumber(rows, std::uint16_t{300});
    rows += kOrigin;
    appendNumber(rows, std::int32_t{70000});
    appendNumber(rows, std::uint16_t{18});

    const NodePointColumns points = decoded(layout, rows);

    EXPECT_THAT(points.intensities, ElementsAre(0, 65535));
    EXPECT_THAT(points.classifications, ElementsAre(255, 18));
}

TEST(EntwineTile, FloatingPointAttributesAreRoundedAndWhatIsNoNumberIsZero)
{
    const RowLayout layout = layoutWith(json::array({dimensionEntry("Intensity", "float", 4)}));
    std::string rows;
    for (const float value : {1.4F, 1.5F, -3.0F, 1e20F, std::numeric_limits<float>::quiet_NaN()})
    {
        rows += kOrigin;
        appendNumber(rows, value);
    }

    EXPECT_THAT(decoded(layout, rows).intensities, ElementsAre(1, 2, 0, 65535, 0));
}

TEST(EntwineTile, AttributesMayHaveScaleAndOffset)
{
    json intensity = dimensionEntry("Intensity", "unsigned", 1);
    intensity["scale"] = 100;
    intensity["offset"] = 7;

    EXPECT_THAT(
        decoded(layoutWith(json::array({intensity})), kOrigin + "\x03").intensities, ElementsAre(307)
    );
}

TEST(EntwineTile, ScanIndexIsPointSourceIdElseOriginId)
{
    const json source = dimensionEntry("PointSourceId", "unsigned", 1);
    const json origin = dimensionEntry("OriginId", "unsigned", 1);

    EXPECT_THAT(decoded(layoutWith({origin, source}), kOrigin + "\x05\x06").scanIndices, ElementsAre(6U));
    EXPECT_THAT(decoded(layoutWith(json::array({origin})), kOrigin + "\x05").scanIndices, ElementsAre(5U));
}

TEST(EntwineTile, NormalsNeedAllThreeAxes)
{
    const json x = dimensionEntry("NormalX", "float", 8);
    const json y = dimensionEntry("NormalY", "float", 4);
    const json z = dimensionEntry("NormalZ", "float", 8);
    std::string row = kOrigin;
    appendNumber(row, 0.5);
    appendNumber(row, -0.25F);

    EXPECT_TRUE(decoded(layoutWith({x, y}), row).normals.empty());
    appendNumber(row, 0.75);
    EXPECT_THAT(
        decoded(layoutWith({x, y, z}), row).normals, ElementsAre(Math::Point<float, 3>{0.5F, -0.25F, 0.75F})
    );
}

TEST(EntwineTile, ArraysThatAreNotAskedForStayEmpty)
{
    const RowLayout layout = layoutWith(json::array({dimensionEntry("Intensity", "unsigned", 1)}));
    NodePointColumns out;
    out.intensities = {1, 2, 3};

    Octree::decodeRows(layout, {}, bytesOf(kOrigin + "\x05"), Octree::kPositionAttribute, out);

    EXPECT_EQ(out.positions.size(), 1U);
    EXPECT_TRUE(out.intensities.empty());
}

class ZstdDecode : public testing::Test
{
protected:
    std::vector<std::byte> out;

    std::string failureOf(const std::string& frame, std::size_t size)
    {
        return messageOf<std::runtime_error>([&] { Entwine::zstdDecode(bytesOf(frame), size, out, {}); });
    }
};

TEST_F(ZstdDecode, FramesUnpackWithAndWithoutTheirSizeInTheHeader)
{
    std::string text;
    for (std::uint32_t i = 0; i < 300000; ++i)  // beyond the first growth step
    {
        appendNumber(text, i * 7919);
    }
    for (const bool hasContentSize : {false, true})
    {
        ASSERT_TRUE(Entwine::zstdDecode(bytesOf(zstdEncoded(text, hasContentSize)), text.size(), out, {}));
        EXPECT_TRUE(std::ranges::equal(out, bytesOf(text)));
    }
}

TEST_F(ZstdDecode, FramesOfAnotherLengthAreRefused)
{
    const std::string text(1000, 'a');
    for (const bool hasContentSize : {false, true})
    {
        const std::string frame = zstdEncoded(text, hasContentSize);
        EXPECT_THAT(failureOf(frame, 999), HasSubstr(", expected 999"));
        EXPECT_THAT(failureOf(frame, 1001), HasSubstr(", expected 1001"));
    }
}

TEST_F(ZstdDecode, AFrameThatUnpacksToFarMoreTakesNoMoreThanExpected)
{
    const std::string bomb = zstdEncoded(std::string(100'000'000, '\0'));

    EXPECT_THAT(failureOf(bomb, 1000), HasSubstr("unpacks to more bytes, expected 1000"));
    EXPECT_LE(out.capacity(), 1U << 20U);
}

TEST_F(ZstdDecode, ASmallFrameTakesNoMemoryForALargeExpectation)
{
    const std::string frame = zstdEncoded("abc");

    EXPECT_THAT(
        failureOf(frame, 100'000'000),
        HasSubstr("Zstandard frame of 12 bytes is too short, expected 100000000 unpacked")
    );
    EXPECT_LE(out.capacity(), 1U << 20U);
    EXPECT_THAT(failureOf(frame, 60'000'000), HasSubstr("unpacks to 3 bytes, expected 60000000"));
}

TEST_F(ZstdDecode, MemoryThatIsLargeEnoughIsKept)
{
    const std::string text(1'000'000, 'a');
    out.reserve(text.size());
    const std::byte* const memory = out.data();

    ASSERT_TRUE(Entwine::zstdDecode(bytesOf(zstdEncoded(text)), text.size(), out, {}));

    EXPECT_EQ(out.data(), memory);
    EXPECT_TRUE(std::ranges::equal(out, bytesOf(text)));
}

TEST_F(ZstdDecode, BrokenFramesAreRefused)
{
    std::string text;
    for (int i = 0; i < 5000; ++i)
    {
        appendNumber(text, i * i);
    }
    const std::string frame = zstdEncoded(text);

    EXPECT_THAT(failureOf("", text.size()), HasSubstr("not a Zstandard frame"));
    EXPECT_THAT(failureOf("no frame at all", text.size()), HasSubstr("not a Zstandard frame"));
    EXPECT_THAT(failureOf(frame.substr(0, frame.size() / 2), text.size()), HasSubstr("truncated"));
    EXPECT_THAT(failureOf(frame + "xyz", text.size()), HasSubstr("3 bytes follow the end"));
}

TEST_F(ZstdDecode, AHugeWindowTakesNoMemory)
{
    // magic number, a descriptor without single segment and size, then a window of 2^(10 + 21) = 2 GiB; one
    // last block of 3 bytes as they are
    const std::string frame = std::string("\x28\xb5\x2f\xfd\x00", 5) + static_cast<char>(21 << 3) +
                              std::string("\x19\x00\x00", 3) + "abc";

    ASSERT_TRUE(Entwine::zstdDecode(bytesOf(frame), 3, out, {}));

    EXPECT_TRUE(std::ranges::equal(out, bytesOf("abc")));
}

TEST_F(ZstdDecode, AStopRequestEndsIt)
{
    std::stop_source stop;
    stop.request_stop();

    EXPECT_FALSE(Entwine::zstdDecode(bytesOf(zstdEncoded("abc")), 3, out, stop.get_token()));
}
}  // namespace
