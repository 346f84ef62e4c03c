#include "octree/Octree.h"
#include "octree/entwine/EntwineTree.h"
#include "octree/entwine/Metadata.h"
#include "octree/entwine/TileCodec.h"
#include "octree/entwine/rowLayout.h"
#include "octree/las/LazHeader.h"
#include "octree/las/decodeChunks.h"
#include "tests/octree/EptTestSet.h"
#include "tests/octree/TestDataSet.h"
#include "tests/support/lazEncoded.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace
{
using Entwine::EntwineTree;
using Las::LazHeader;
using Octree::NodePointColumns;
using testing::HasSubstr;

LazHeader headerOf(const std::string& file)
{
    return Las::parseLazHeader(std::as_bytes(std::span(file)), file.size());
}

bool decode(
    const std::string& file,
    const LazHeader& header,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken = {}
)
{
    const std::span<const std::byte> chunks = Las::equalChunks(std::as_bytes(std::span(file)), header);
    return Las::decodeChunks(chunks, static_cast<std::uint32_t>(header.pointCount), header, out, stopToken);
}

/// Points that differ in everything, with jumps of time and changes of the channel in their midst.
std::vector<LazPoint> variedPoints(std::uint32_t count)
{
    std::uint32_t state = 7;
    const auto next = [&state](std::uint32_t below)
    {
        state = state * 1664525U + 1013904223U;
        return (state >> 8U) % below;
    };
    std::vector<LazPoint> points(count);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        LazPoint& point = points[i];
        for (std::int32_t& coordinate : point.position)
        {
            coordinate = static_cast<std::int32_t>(next(2000)) - 1000;
        }
        point.intensity = static_cast<std::uint16_t>(next(65536));
        point.classification = static_cast<std::uint8_t>(next(32));
        point.pointSource = static_cast<std::uint16_t>(next(5));
        for (std::uint16_t& channel : point.color)
        {
            channel = static_cast<std::uint16_t>(next(65536));
        }
        point.time = i % 7 == 0 ? 1e9 * (i % 3) : 0.5 * i;
        point.channel = static_cast<std::uint8_t>(next(10) == 0 ? next(4) : 1);
    }
    return points;
}

/// A laszip data set whose schema declares everything that a LAS point may have.
class LaszipSet : public EptTestSet
{
public:
    explicit LaszipSet(bool colored) : EptTestSet("laszip")
    {
        ept["schema"].push_back(dimensionEntry("Intensity", "unsigned", 2));
        ept["schema"].push_back(dimensionEntry("Classification", "unsigned", 1));
        ept["schema"].push_back(dimensionEntry("PointSourceId", "unsigned", 2));
        for (const char* name : {"Red", "Green", "Blue"})
        {
            if (colored)
            {
                ept["schema"].push_back(dimensionEntry(name, "unsigned", 2));
            }
        }
    }

    void setRoot(const std::string& file, std::size_t pointCount) const
    {
        setHierarchy("0-0-0-0", "{\"0-0-0-0\": " + std::to_string(pointCount) + "}");
        setTile("0-0-0-0.laz", file);
    }
};

struct Variant
{
    const char* name;
    LazOptions options;
};

std::ostream& operator<<(std::ostream& stream, const Variant& variant)
{
    return stream << variant.name;
}

class LazVariant : public testing::TestWithParam<Variant>
{
};

TEST_P(LazVariant, EveryFieldComesBackThroughTheTree)
{
    const LazOptions& options = GetParam().options;
    const std::vector<LazPoint> points = variedPoints(1234);
    const bool colored = options.pointFormat == 2 || options.pointFormat == 3 || options.pointFormat > 6;
    const LaszipSet set(colored);
    set.setRoot(lazEncoded(points, options), points.size());
    const EntwineTree tree(set.write());
    NodePointColumns columns;

    ASSERT_TRUE(tree.getNodePointData({}, Octree::kAllAttributes, 1.0, columns, {}));

    ASSERT_EQ(columns.pointCount, points.size());
    ASSERT_EQ(columns.colors.size(), colored ? points.size() : 0U);
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        const LazPoint& point = points[i];
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            ASSERT_EQ(columns.positions[i][axis], point.position[axis]) << i;
        }
        ASSERT_EQ(columns.intensities[i], point.intensity) << i;
        ASSERT_EQ(columns.classifications[i], point.classification) << i;
        ASSERT_EQ(columns.scanIndices[i], point.pointSource) << i;
        if (colored)
        {
            ASSERT_EQ(columns.colors[i].r(), point.color[0] >> 8U) << i;
            ASSERT_EQ(columns.colors[i].g(), point.color[1] >> 8U) << i;
            ASSERT_EQ(columns.colors[i].b(), point.color[2] >> 8U) << i;
        }
    }
}

// Short of its end a file must be refused wherever it was cut: in the header, a record, a chunk, the chunk
// table's head.
TEST_P(LazVariant, TruncatedFilesAreRefused)
{
    const std::string file = lazEncoded(variedPoints(200), GetParam().options);
    std::int64_t table = 0;
    std::memcpy(&table, file.data() + pointsPosition(GetParam().options), sizeof table);
    const LaszipSet set(false);

    for (std::size_t size = 0; size < static_cast<std::size_t>(table) + 8; size += 97)
    {
        set.setRoot(file.substr(0, size), 200);
        const EntwineTree tree(set.write());
        NodePointColumns columns;
        EXPECT_THAT(
            messageOf<std::runtime_error>(
                [&] { tree.getNodePointData({}, Octree::kAllAttributes, 1.0, columns, {}); }
            ),
            HasSubstr("0-0-0-0.laz: ")
        ) << size;
    }
}

// Whatever is damaged, either it is noticed and the file is named, or as many points come out as there should
// be.
TEST_P(LazVariant, DamagedFilesAreRefusedOrGiveTheExpectedNumberOfPoints)
{
    const std::string file = lazEncoded(variedPoints(200), GetParam().options);
    const LaszipSet set(false);
    const EntwineTree tree(set.write());
    std::uint32_t state = 11;

    for (int round = 0; round < 60; ++round)
    {
        std::string damaged = file;
        for (int change = 0; change < 1 + round % 3; ++change)
        {
            state = state * 1664525U + 1013904223U;
            damaged[(state >> 8U) % damaged.size()] ^= static_cast<char>(1U << (state >> 5U & 7U));
        }
        set.setRoot(damaged, 200);
        NodePointColumns columns;
        try
        {
            ASSERT_TRUE(tree.getNodePointData({}, Octree::kAllAttributes, 1.0, columns, {}));
            EXPECT_EQ(columns.pointCount, 200U);
        }
        catch (const std::runtime_error& error)
        {
            EXPECT_THAT(error.what(), HasSubstr("0-0-0-0.laz: "));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats,
    LazVariant,
    testing::Values(
        Variant{"Format0", {.pointFormat = 0}},
        Variant{"Format1", {.pointFormat = 1, .chunkSize = 100}},
        Variant{"Format2", {.pointFormat = 2, .extraBytes = 9}},
        Variant{"Format3", {.pointFormat = 3, .extraBytes = 4, .chunkSize = 617, .recordBefore = 100}},
        Variant{"Format6", {.pointFormat = 6, .chunkSize = 100}},
        Variant{"Format7", {.pointFormat = 7, .extraBytes = 20}},
        Variant{"Format8", {.pointFormat = 8, .itemVersion = 4, .extraBytes = 4, .chunkSize = 300}}
    ),
    [](const auto& variant) { return std::string(variant.param.name); }
);

/// A file of 200 points of format 3 that tests damage in its fixed parts.
class LazHeaderTest : public testing::Test
{
protected:
    LazOptions options{.recordBefore = 40};
    std::string file = lazEncoded(variedPoints(200), options);
    const std::size_t record = laszipRecordPosition(options);
    const std::size_t points = pointsPosition(options);

    template <class T>
    void put(std::size_t position, T value)
    {
        std::memcpy(file.data() + position, &value, sizeof value);
    }

    LazHeader parsed() const { return headerOf(file); }

    /// What is said of the file as a tile of so many points.
    std::string failure(std::uint64_t count = 200) const
    {
        const Octree::ScratchLoan scratch;
        const auto bytes = std::as_bytes(std::span(file));
        scratch.stored.assign(bytes.begin(), bytes.end());
        const Octree::RowLayout layout =
            Entwine::rowLayout(Entwine::parseMetadata(smallEpt("laszip").dump(), "ept.json"));
        return messageOf<std::runtime_error>(
            [&] { Entwine::tileCodec(Entwine::DataType::Laszip).unpacked(layout, count, scratch, {}); }
        );
    }

    template <class T>
    std::string failureWith(std::size_t position, T value)
    {
        const std::string good = file;
        put(position, value);
        std::string message = failure();
        file = good;
        return message;
    }
};

TEST_F(LazHeaderTest, FieldsAreThoseOfTheFile)
{
    put(131, 0.25);
    put(163, -7.5);
    const LazHeader header = parsed();

    EXPECT_EQ(header.pointFormat, 3U);
    EXPECT_FALSE(header.isLayered);
    EXPECT_TRUE(header.hasColors);
    EXPECT_EQ(header.pointCount, 200U);
    EXPECT_THAT(header.scale, testing::ElementsAre(0.25, 1.0, 1.0));
    EXPECT_THAT(header.offset, testing::ElementsAre(100.0, -7.5, 300.0));
    EXPECT_EQ(header.items.size(), 3U);
    EXPECT_EQ(header.chunkSize, 50000U);
    EXPECT_EQ(header.pointsBegin, points);
}

TEST_F(LazHeaderTest, OtherFilesAreRefused)
{
    EXPECT_THAT(failureWith(0, 'X'), HasSubstr("not a LAS file, expected one that begins with \"LASF\""));
    EXPECT_THAT(failureWith(24, std::uint8_t{2}), HasSubstr("LAS version 2.2, expected 1.0 to 1.4"));
    EXPECT_THAT(failureWith(25, std::uint8_t{5}), HasSubstr("LAS version 1.5"));
    file.resize(226);
    EXPECT_THAT(failure(), HasSubstr("not a LAS file"));
}

TEST_F(LazHeaderTest, PartsBeyondOneAnotherAreRefused)
{
    EXPECT_THAT(failureWith(94, std::uint16_t{226}), HasSubstr("LAS header of 226 bytes, expected 227"));
    EXPECT_THAT(failureWith(94, std::uint16_t{65535}), HasSubstr("LAS header of 65535 bytes"));
    EXPECT_THAT(failureWith(25, std::uint8_t{4}), HasSubstr("LAS header of 227 bytes, expected 375"));
    EXPECT_THAT(failureWith(96, std::uint32_t{226}), HasSubstr("points from byte 226 on"));
    EXPECT_THAT(failureWith(96, ~std::uint32_t{0}), HasSubstr("points from byte 4294967295 on"));
    EXPECT_THAT(failureWith(96, static_cast<std::uint32_t>(file.size())), HasSubstr("the file ends after"));
}

TEST_F(LazHeaderTest, RecordsThatDoNotEndBeforeThePointsAreRefused)
{
    put(227 + 2, 'x');
    EXPECT_THAT(
        failureWith(227 + 20, std::uint16_t{65535}), HasSubstr("a variable length record of 65535 bytes")
    );
    EXPECT_THAT(
        failureWith(record - 34, std::uint16_t{65535}), HasSubstr("of 65535 bytes, expected at most")
    );
    put(record - 36, std::uint16_t{1});
    EXPECT_THAT(failure(), HasSubstr("points are not compressed by LASzip"));
    EXPECT_THAT(failureWith(100, ~std::uint32_t{0}), HasSubstr("variable length records beyond"));
}

TEST_F(LazHeaderTest, FilesThatAreNotCompressedAreRefused)
{
    EXPECT_THAT(failureWith(100, std::uint32_t{1}), HasSubstr("points are not compressed by LASzip"));
    EXPECT_THAT(failureWith(100, std::uint32_t{0}), HasSubstr("expected a record \"laszip encoded\""));
}

TEST_F(LazHeaderTest, AnotherNumberOfPointsThanTheHierarchysIsRefused)
{
    EXPECT_THAT(failure(199), HasSubstr("200 points, expected 199 as the hierarchy says"));
    EXPECT_THAT(
        failureWith(107, ~std::uint32_t{0}),
        HasSubstr("4294967295 points, expected 200 as the hierarchy says")
    );
}

TEST_F(LazHeaderTest, PointFormatsThatAreNotUnderstoodAreRefused)
{
    for (const unsigned format : {4U, 5U, 9U, 10U, 63U})
    {
        EXPECT_THAT(
            failureWith(104, static_cast<std::uint8_t>(format | 0x80U)),
            HasSubstr("point format " + std::to_string(format) + ", expected 0 to 3 or 6 to 8")
        );
    }
}

TEST_F(LazHeaderTest, RecordLengthsThatDoNotFitTheFormatAreRefused)
{
    EXPECT_THAT(failureWith(105, std::uint16_t{33}), HasSubstr("point records of 33 bytes, expected 34"));
    EXPECT_THAT(failureWith(105, std::uint16_t{65535}), HasSubstr("and at most 1024 more"));
    EXPECT_THAT(failureWith(105, std::uint16_t{35}), HasSubstr("expected 4 items of 35 bytes together"));
}

TEST_F(LazHeaderTest, ScalesAndOffsetsThatAreNoUsableNumbersAreRefused)
{
    for (const double bad :
         {0.0, 1e30, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
    {
        EXPECT_THAT(failureWith(139, bad), HasSubstr("bad scale of Y")) << bad;
    }
    for (const double bad : {-1e31, std::numeric_limits<double>::quiet_NaN()})
    {
        EXPECT_THAT(failureWith(171, bad), HasSubstr("bad offset of Z")) << bad;
    }
}

TEST_F(LazHeaderTest, CompressionsThatAreNotUnderstoodAreRefused)
{
    EXPECT_THAT(
        failureWith(record, std::uint16_t{1}),
        HasSubstr("LASzip compressor 1, coder 0, expected compressor 2, coder 0 for point format 3")
    );
    EXPECT_THAT(failureWith(record + 2, std::uint16_t{1}), HasSubstr("coder 1"));
    EXPECT_THAT(failureWith(record + 12, std::uint32_t{0}), HasSubstr("chunks of no points"));
    EXPECT_THAT(
        failureWith(record + 12, ~std::uint32_t{0}), HasSubstr("chunks of varying numbers of points")
    );
}

TEST_F(LazHeaderTest, ItemsThatAreNotThoseOfTheFormatAreRefused)
{
    const std::string expected = "LASzip items that are not those of point format 3";
    EXPECT_THAT(failureWith(record + 32, std::uint16_t{2}), HasSubstr(expected));
    EXPECT_THAT(failureWith(record + 32, std::uint16_t{65535}), HasSubstr(expected));
    EXPECT_THAT(failureWith(record + 34, std::uint16_t{10}), HasSubstr(expected));
    EXPECT_THAT(failureWith(record + 36, std::uint16_t{65535}), HasSubstr(expected));
    EXPECT_THAT(failureWith(record + 38, std::uint16_t{1}), HasSubstr(expected));
    EXPECT_THAT(
        failureWith(record - 34, std::uint16_t{33}),
        HasSubstr("\"laszip encoded\" of 33 bytes, expected at least 34")
    );
}

TEST_F(LazHeaderTest, ChunkTablesElsewhereOrOfOtherChunksAreRefused)
{
    for (const std::int64_t position :
         {std::int64_t{-2},
          std::int64_t{0},
          static_cast<std::int64_t>(points + 7),
          static_cast<std::int64_t>(file.size() - 7),
          std::numeric_limits<std::int64_t>::max(),
          std::numeric_limits<std::int64_t>::min()})
    {
        EXPECT_THAT(
            failureWith(points, position), HasSubstr("chunk table at byte " + std::to_string(position))
        );
    }
    std::int64_t table = 0;
    std::memcpy(&table, file.data() + points, sizeof table);
    EXPECT_THAT(
        failureWith(static_cast<std::size_t>(table) + 4, ~std::uint32_t{0}),
        HasSubstr("with 4294967295 chunks, expected version 0 with 1")
    );
    EXPECT_THAT(
        failureWith(static_cast<std::size_t>(table), std::uint32_t{1}), HasSubstr("chunk table of version 1")
    );
}

TEST_F(LazHeaderTest, TheChunkTablesPositionMayStandAtTheEnd)
{
    std::int64_t table = 0;
    std::memcpy(&table, file.data() + points, sizeof table);
    put(points, std::int64_t{-1});
    file.append(reinterpret_cast<const char*>(&table), sizeof table);

    EXPECT_EQ(
        Las::equalChunks(std::as_bytes(std::span(file)), parsed()).size(),
        static_cast<std::size_t>(table) - points - 8
    );
}

TEST_F(LazHeaderTest, ChunksThatEndBeforeTheTableAreRefused)
{
    std::int64_t table = 0;
    std::memcpy(&table, file.data() + points, sizeof table);
    file.insert(static_cast<std::size_t>(table), 5, '\0');
    put(points, table + 5);
    std::vector<std::byte> out;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { decode(file, parsed(), out); }),
        HasSubstr("compressed points end 5 bytes before the chunk table")
    );
}

/// A file of layered points.
class LazLayers : public testing::Test
{
protected:
    LazOptions options{.pointFormat = 6};
    std::string file = lazEncoded(variedPoints(200), options);
    const std::size_t words =
        pointsPosition(options) + 8 + 30;  // behind the table's position and the first point

    std::string failureWith(std::size_t word, std::uint32_t value)
    {
        std::memcpy(file.data() + words + 4 * word, &value, sizeof value);
        const LazHeader header = headerOf(file);
        std::vector<std::byte> out;
        return messageOf<std::runtime_error>([&] { decode(file, header, out); });
    }
};

TEST_F(LazLayers, AChunkOfAnotherNumberOfPointsIsRefused)
{
    EXPECT_THAT(failureWith(0, 201), HasSubstr("a chunk of 201 points, expected 200"));
}

TEST_F(LazLayers, SizesThatReachBeyondTheChunksAreRefused)
{
    EXPECT_THAT(failureWith(1, ~std::uint32_t{0}), HasSubstr("point 0 cannot be read"));
}

// The sum of 2^32 - 1 and the size before it would wrap around to less than that size.
TEST_F(LazLayers, SizesWhoseSumWrapsAroundAreRefused)
{
    EXPECT_THAT(failureWith(2, ~std::uint32_t{0}), HasSubstr("point 0 cannot be read"));
}

TEST(LaszipTree, ScaleAndOffsetAreThoseOfTheTileNotOfTheSchema)
{
    const LazOptions options{.scale = {0.5, 2, 1}, .offset = {101, 190, 300}};
    const LaszipSet set(true);
    set.setRoot(lazEncoded(std::array{LazPoint{.position = {4, 10, -2}}}, options), 1);
    NodePointColumns columns;

    EntwineTree(set.write()).getNodePointData({}, Octree::kPositionAttribute, 1.0, columns, {});

    // 4 x 0.5 + 101 and so on, less the schema's offset of 100, 200, 300
    EXPECT_EQ(columns.positions[0], (Math::Point<double, 3>{3, 10, -2}));
}

TEST(LaszipTree, FlagsAreNoPartOfAnOldPointsClassification)
{
    const LaszipSet set(false);
    set.setRoot(lazEncoded(std::array{LazPoint{.classification = 0xe6}}, {.pointFormat = 0}), 1);
    NodePointColumns columns;

    EntwineTree(set.write()).getNodePointData({}, Octree::kClassificationAttribute, 1.0, columns, {});

    EXPECT_THAT(columns.classifications, testing::ElementsAre(6));
}

TEST(LaszipTree, ClassificationsAbove31AreRead)
{
    const LaszipSet set(false);
    set.setRoot(lazEncoded(std::array{LazPoint{.classification = 200}}, {.pointFormat = 6}), 1);
    NodePointColumns columns;

    EntwineTree(set.write()).getNodePointData({}, Octree::kClassificationAttribute, 1.0, columns, {});

    EXPECT_THAT(columns.classifications, testing::ElementsAre(200));
}

TEST(LaszipTree, NarrowColorsAreTakenAsTheyAre)
{
    const LaszipSet set(true);
    set.setRoot(lazEncoded(std::array{LazPoint{.color = {1, 128, 255}}}), 1);
    NodePointColumns columns;

    EntwineTree(set.write()).getNodePointData({}, Octree::kColorAttribute, 1.0, columns, {});

    EXPECT_EQ(columns.colors[0], Math::Color(1, 128, 255, 255));
}

TEST(LaszipTree, ATileWithoutTheColorsThatTheSchemaDeclaresIsRefused)
{
    const LaszipSet set(true);
    set.setRoot(lazEncoded(std::array{LazPoint{}}, {.pointFormat = 1}), 1);
    const EntwineTree tree(set.write());
    NodePointColumns columns;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&]
                                      { tree.getNodePointData({}, Octree::kAllAttributes, 1.0, columns, {}); }
        ),
        HasSubstr("0-0-0-0.laz: point format 1 has no colours, expected 2, 3, 7 or 8")
    );
}

TEST(LaszipTree, NormalsAndOriginIdsOfTheSchemaAreNotPromised)
{
    EptTestSet set("laszip");
    for (const char* name : {"NormalX", "NormalY", "NormalZ", "OriginId"})
    {
        set.ept["schema"].push_back(dimensionEntry(name, "float", 8));
    }

    EXPECT_EQ(EntwineTree(set.write()).description().attributeMask, Octree::kPositionAttribute);
}

TEST(LaszipTree, ATileFarLargerThanItsPointsIsNotRead)
{
    const LaszipSet set(false);
    set.setRoot(std::string(17'000'000, '\0'), 1);
    const EntwineTree tree(set.write());
    NodePointColumns columns;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&]
                                      { tree.getNodePointData({}, Octree::kAllAttributes, 1.0, columns, {}); }
        ),
        HasSubstr("0-0-0-0.laz: 17000000 bytes, expected at most 16779264 for 1 points")
    );
}

TEST(LazDecode, ASmallFileReservesLittleForManyPoints)
{
    std::string file = lazEncoded(variedPoints(10));
    const std::uint32_t count = 40'000'000;
    const std::uint32_t chunkSize = 40'000'000;
    std::memcpy(file.data() + 107, &count, sizeof count);
    std::memcpy(file.data() + laszipRecordPosition({}) + 12, &chunkSize, sizeof chunkSize);
    const LazHeader header = headerOf(file);
    std::vector<std::byte> out;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { decode(file, header, out); }),
        HasSubstr("broken compressed points: point ")
    );
    EXPECT_LE(out.capacity(), 4U << 20U);
}

// No coder writes four bytes of 255 there; with them the decoder would look outside its tables.
TEST(LazDecode, ChunksThatBeginOutsideTheCodersRangeAreRefused)
{
    const LazOptions options{.pointFormat = 0};
    std::string file = lazEncoded(variedPoints(10), options);
    file.replace(pointsPosition(options) + 8 + 20, 4, "\xff\xff\xff\xff");  // behind the first point
    std::vector<std::byte> out;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { decode(file, headerOf(file), out); }),
        HasSubstr("broken compressed points: point 1 cannot be read")
    );
}

TEST(LazDecode, AStopRequestEndsIt)
{
    const std::string file = lazEncoded(variedPoints(10));
    std::stop_source stop;
    stop.request_stop();
    std::vector<std::byte> out;

    EXPECT_FALSE(decode(file, headerOf(file), out, stop.get_token()));
}
}  // namespace
