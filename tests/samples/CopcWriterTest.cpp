#include "samples/CopcWriter.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <laszip/bytestreamin_array.hpp>
#include <laszip/lasreadpoint.hpp>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

// Files are taken apart here without the readers of octrees.
namespace
{
using Samples::CopcSummary;
using Samples::CopcWriterOptions;
using Samples::SampleNode;
using Samples::SamplePoint;

template <class T>
T at(const std::string& bytes, std::size_t position)
{
    T value;
    std::memcpy(&value, bytes.substr(position, sizeof value).data(), sizeof value);
    return value;
}

std::vector<SamplePoint> cloud(std::size_t count)
{
    std::vector<SamplePoint> points(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto value = static_cast<std::uint16_t>(i * 37);
        points[i].x = 1000.0 + static_cast<double>(i % 61) * 0.131;
        points[i].y = 2000.0 + static_cast<double>(i % 59) * 0.127;
        points[i].z = 300.0 + static_cast<double>(i % 53) * 0.113;
        points[i].r = value;
        points[i].g = static_cast<std::uint16_t>(65535 - value);
        points[i].b = static_cast<std::uint16_t>(value * 3);
        points[i].intensity = static_cast<std::uint16_t>(value * 5);
        points[i].classification = static_cast<std::uint8_t>(i % 200);
        points[i].scanIndex = static_cast<std::uint32_t>(i % 7);
    }
    return points;
}

CopcWriterOptions smallOptions()
{
    return {.cube = Samples::Cube{{1000.0, 2000.0, 300.0}, 8.0}, .leafCapacity = 100, .threadCount = 1};
}

/// Where records of the header begin, by author and number.
std::map<std::pair<std::string, unsigned>, std::size_t> recordsOf(const std::string& bytes)
{
    std::map<std::pair<std::string, unsigned>, std::size_t> records;
    std::size_t position = at<std::uint16_t>(bytes, 94);
    for (std::uint32_t i = 0; i < at<std::uint32_t>(bytes, 100); ++i)
    {
        records[{bytes.substr(position + 2, 16).c_str(), at<std::uint16_t>(bytes, position + 18)}] =
            position + 54;
        position += std::size_t{54} + at<std::uint16_t>(bytes, position + 20);
    }
    EXPECT_EQ(position, at<std::uint32_t>(bytes, 96));
    return records;
}

struct Entry
{
    std::array<std::int32_t, 4> key;
    std::uint64_t offset;
    std::int32_t size;
    std::int32_t count;
};

std::vector<Entry> pageAt(const std::string& bytes, std::uint64_t offset, std::uint64_t size)
{
    std::vector<Entry> page(size / 32);
    std::memcpy(page.data(), bytes.substr(offset, size).data(), size);
    return page;
}

/// One point as LASzip's reader gives it.
struct ReadPoint
{
    std::array<std::int32_t, 3> position;
    std::uint16_t intensity;
    std::uint8_t classification;
    std::uint16_t source;
    std::array<std::uint16_t, 4> color;
};

/// All points from front to end, by the reader of the LASzip library, which finds chunks by their table.
std::vector<ReadPoint> readByLaszip(const std::string& bytes)
{
    const std::size_t record = recordsOf(bytes).at({"laszip encoded", 22204});
    LASzip compression;
    const int size = static_cast<int>(at<std::uint16_t>(bytes, record - 34));
    EXPECT_TRUE(compression.unpack(reinterpret_cast<const unsigned char*>(bytes.data() + record), size));
    EXPECT_TRUE(compression.check(at<std::uint16_t>(bytes, 105)));
    ByteStreamInArrayLE stream(reinterpret_cast<const U8*>(bytes.data()), static_cast<I64>(bytes.size()));
    stream.seek(at<std::uint32_t>(bytes, 96));
    LASreadPoint reader;
    EXPECT_TRUE(reader.setup(compression.num_items, compression.items, &compression));
    EXPECT_TRUE(reader.init(&stream));
    alignas(8) std::array<U8, 128> point{};
    alignas(8) std::array<U8, 8> color{};
    std::vector<U8> extra(1024);
    std::vector<U8*> items;
    for (int i = 0; i < compression.num_items; ++i)
    {
        const LASitem::Type type = compression.items[i].type;
        items.push_back(
            type == LASitem::POINT14  ? point.data()
            : type == LASitem::BYTE14 ? extra.data()
                                      : color.data()
        );
    }
    std::vector<ReadPoint> points(at<std::uint64_t>(bytes, 247));
    for (ReadPoint& result : points)
    {
        EXPECT_TRUE(reader.read(items.data()));
        std::memcpy(&result.position, point.data(), sizeof result.position);
        std::memcpy(&result.intensity, point.data() + 12, sizeof result.intensity);
        std::memcpy(&result.source, point.data() + 18, sizeof result.source);
        result.classification = point[23];
        std::memcpy(&result.color, color.data(), sizeof result.color);
    }
    return points;
}

class CopcWriterFormats : public testing::TestWithParam<CopcWriterOptions>
{
};

TEST_P(CopcWriterFormats, TheLaszipLibraryReadsAllPointsFromFrontToEnd)
{
    const TemporaryFolder folder;
    CopcWriterOptions options = smallOptions();
    options.pointFormat = GetParam().pointFormat;
    options.itemVersion = GetParam().itemVersion;
    options.extraBytes = GetParam().extraBytes;
    options.offset = options.cube->min;
    const std::vector<SamplePoint> points = cloud(3000);
    Samples::writeCopc(folder.path() / "x.copc.laz", points, options);

    std::vector<ReadPoint> read = readByLaszip(TemporaryFolder::read(folder.path() / "x.copc.laz"));

    ASSERT_EQ(read.size(), points.size());
    // All positions differ: 61 x 59 x 53 of them come before the first again.
    std::map<std::array<std::int32_t, 3>, const SamplePoint*> expected;
    for (const SamplePoint& point : points)
    {
        const std::array<std::int32_t, 3> position{
            static_cast<std::int32_t>(std::lround((point.x - 1000) * 1000)),
            static_cast<std::int32_t>(std::lround((point.y - 2000) * 1000)),
            static_cast<std::int32_t>(std::lround((point.z - 300) * 1000))};
        expected[position] = &point;
    }
    ASSERT_EQ(expected.size(), points.size());
    for (const ReadPoint& point : read)
    {
        ASSERT_TRUE(expected.contains(point.position));
        const SamplePoint& original = *expected[point.position];
        EXPECT_EQ(point.intensity, original.intensity);
        EXPECT_EQ(point.classification, original.classification);
        EXPECT_EQ(point.source, original.scanIndex);
        if (options.pointFormat > 6)
        {
            const std::uint16_t infrared = options.pointFormat == 8 ? original.r : std::uint16_t{0};
            EXPECT_EQ(point.color, (std::array{original.r, original.g, original.b, infrared}));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Options,
    CopcWriterFormats,
    testing::Values(
        CopcWriterOptions{.pointFormat = 6},
        CopcWriterOptions{.pointFormat = 7},
        CopcWriterOptions{.pointFormat = 8},
        CopcWriterOptions{.pointFormat = 7, .itemVersion = 4},
        CopcWriterOptions{.pointFormat = 8, .itemVersion = 4, .extraBytes = 5},
        CopcWriterOptions{.pointFormat = 6, .extraBytes = 1}
    ),
    [](const auto& parameters)
    {
        const CopcWriterOptions& options = parameters.param;
        return "Format" + std::to_string(options.pointFormat) + "Version" +
               std::to_string(options.itemVersion) + "Extra" + std::to_string(options.extraBytes);
    }
);

TEST(CopcWriter, HeadersSayWhereThingsAreAndHowFarTheyReach)
{
    const TemporaryFolder folder;
    CopcWriterOptions options = smallOptions();
    options.coordinateSystem = "PROJCS[]";
    const std::vector<SampleNode> nodes{
        {.name = "r",
         .points = {
             {.x = 1001.5, .y = 2002.25, .z = 303.125, .scanIndex = 3},
             {.x = 1006.0, .y = 2001.0, .z = 301.0, .scanIndex = 5}}}};
    const CopcSummary summary = Samples::writeCopcNodes(folder.path() / "x.copc.laz", nodes, options);

    const std::string bytes = TemporaryFolder::read(folder.path() / "x.copc.laz");

    EXPECT_EQ(bytes.substr(0, 4), "LASF");
    EXPECT_EQ(at<std::uint16_t>(bytes, 24), 0x0401);
    EXPECT_EQ(at<std::uint16_t>(bytes, 94), 375);
    EXPECT_EQ(at<std::uint8_t>(bytes, 104), 0x87);
    EXPECT_EQ(at<std::uint16_t>(bytes, 105), 36);
    EXPECT_EQ((at<std::array<double, 3>>(bytes, 131)), (std::array{0.001, 0.001, 0.001}));
    EXPECT_EQ((at<std::array<double, 3>>(bytes, 155)), (std::array{1004.0, 2004.0, 304.0}));
    const auto bounds = at<std::array<double, 6>>(bytes, 179);
    const std::array expected{1006.0, 1001.5, 2002.25, 2001.0, 303.125, 301.0};
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        EXPECT_NEAR(bounds[i], expected[i], 1e-9) << i;  // a product and a sum are rounded
    }
    EXPECT_EQ(at<std::uint64_t>(bytes, 247), 2U);
    EXPECT_EQ(at<std::uint64_t>(bytes, 255), 2U);
    EXPECT_EQ(bytes.substr(377, 4), "copc");
    const auto records = recordsOf(bytes);
    EXPECT_EQ(records.at({"copc", 1}), 429U);
    EXPECT_EQ(bytes.substr(records.at({"LASF_Projection", 2112}), 8), "PROJCS[]");
    EXPECT_EQ((at<std::array<double, 5>>(bytes, 429)), (std::array{1004.0, 2004.0, 304.0, 4.0, 8.0 / 128}));
    EXPECT_EQ((at<std::array<double, 2>>(bytes, 485)), (std::array{3000.0, 5000.0}));
    EXPECT_EQ(at<std::uint32_t>(bytes, 96), summary.pointsBegin);
    const auto extended = static_cast<std::size_t>(at<std::uint64_t>(bytes, 235));
    EXPECT_EQ(at<std::uint32_t>(bytes, 243), 1U);
    EXPECT_EQ(bytes.substr(extended + 2, 5), std::string("copc\0", 5));
    EXPECT_EQ(at<std::uint16_t>(bytes, extended + 18), 1000);
    EXPECT_EQ(extended + 60 + at<std::uint64_t>(bytes, extended + 20), bytes.size());
    EXPECT_EQ(at<std::uint64_t>(bytes, 469), extended + 60);
}

TEST(CopcWriter, OnePageListsEachNodeWithItsChunk)
{
    const TemporaryFolder folder;
    const std::vector<SampleNode> nodes{
        {.name = "r", .points = {{.x = 1001, .y = 2001, .z = 301}}},
        {.name = "r52", .points = {{.x = 1005, .y = 2003, .z = 305}, {.x = 1005, .y = 2003, .z = 305.5}}}};
    const CopcSummary summary = Samples::writeCopcNodes(folder.path() / "x.copc.laz", nodes, smallOptions());

    const std::string bytes = TemporaryFolder::read(folder.path() / "x.copc.laz");
    const std::vector<Entry> page =
        pageAt(bytes, at<std::uint64_t>(bytes, 469), at<std::uint64_t>(bytes, 477));

    EXPECT_EQ(summary.pageCount, 1U);
    ASSERT_EQ(page.size(), 3U);
    EXPECT_EQ(page[0].key, (std::array{0, 0, 0, 0}));
    EXPECT_EQ(page[1].key, (std::array{1, 1, 0, 1}));
    EXPECT_EQ(page[2].key, (std::array{2, 2, 1, 2}));
    EXPECT_EQ(page[0].count, 1);
    EXPECT_EQ(page[1].count, 0);
    EXPECT_EQ(page[2].count, 2);
    EXPECT_EQ(page[0].offset, summary.pointsBegin + 8);
    EXPECT_EQ(page[2].offset, page[0].offset + static_cast<std::uint64_t>(page[0].size));
    EXPECT_EQ(page[1].offset, 0U);
    // The chunk table, whose position stands before the chunks, follows the last of them.
    EXPECT_EQ(
        at<std::uint64_t>(bytes, summary.pointsBegin),
        page[2].offset + static_cast<std::uint64_t>(page[2].size)
    );
    // A chunk: a point as it is, then the number of points.
    EXPECT_EQ(at<std::uint32_t>(bytes, page[2].offset + 36), 2U);
    EXPECT_EQ((at<std::array<std::int32_t, 3>>(bytes, page[2].offset)), (std::array{1000, -1000, 1000}));
}

TEST(CopcWriter, PagesBelowAreLinkedAndBeginWithTheirNode)
{
    const TemporaryFolder folder;
    CopcWriterOptions options = smallOptions();
    options.hierarchyStep = 1;
    const std::vector<SampleNode> nodes{{.name = "r034", .points = {{.x = 1000, .y = 2003, .z = 303}}}};
    const CopcSummary summary = Samples::writeCopcNodes(folder.path() / "x.copc.laz", nodes, options);

    const std::string bytes = TemporaryFolder::read(folder.path() / "x.copc.laz");
    std::vector<Entry> page = pageAt(bytes, at<std::uint64_t>(bytes, 469), at<std::uint64_t>(bytes, 477));

    EXPECT_EQ(summary.pageCount, 3U);  // of the root, r0 and r03; r034 has no children
    for (const std::array<std::int32_t, 4>& key :
         {std::array{1, 0, 0, 0}, std::array{2, 0, 1, 1}, std::array{3, 1, 2, 2}})
    {
        ASSERT_EQ(page.size(), 2U);
        EXPECT_EQ(page[0].count, 0);
        EXPECT_EQ(page[1].key, key);
        if (page[1].count == -1)
        {
            page = pageAt(bytes, page[1].offset, static_cast<std::uint64_t>(page[1].size));
            EXPECT_EQ(page[0].key, key);
        }
    }
    EXPECT_EQ(page[1].count, 1);
}

TEST(CopcWriter, TheSameArgumentsGiveTheSameBytesWhateverTheThreads)
{
    const TemporaryFolder folder;
    CopcWriterOptions options = smallOptions();
    Samples::writeCopc(folder.path() / "one", cloud(2000), options);
    options.threadCount = 3;
    Samples::writeCopc(folder.path() / "three", cloud(2000), options);

    EXPECT_EQ(TemporaryFolder::read(folder.path() / "one"), TemporaryFolder::read(folder.path() / "three"));
}

TEST(CopcWriter, WhatDoesNotFitIsRefused)
{
    const TemporaryFolder folder;
    const auto errorWith = [&](const SamplePoint& point, const CopcWriterOptions& options)
    {
        return messageOf<std::invalid_argument>(
            [&] { Samples::writeCopc(folder.path() / "x", std::vector{point}, options); }
        );
    };
    CopcWriterOptions format = smallOptions();
    format.pointFormat = 5;
    CopcWriterOptions version = smallOptions();
    version.itemVersion = 2;
    CopcWriterOptions extra = smallOptions();
    extra.extraBytes = 1025;
    CopcWriterOptions span = smallOptions();
    span.span = 0;

    EXPECT_EQ(errorWith({}, format), "Point format must be 6, 7 or 8");
    EXPECT_EQ(errorWith({}, version), "Version of items must be 3 or 4");
    EXPECT_EQ(errorWith({}, extra), "There must be at most 1024 extra bytes");
    EXPECT_EQ(errorWith({}, span), "Span must be above 0");
    EXPECT_EQ(errorWith({.x = 1e9}, smallOptions()), "A coordinate does not fit 32 bits");
    EXPECT_EQ(
        errorWith({.x = 1000, .y = 2000, .z = 300, .scanIndex = 65536}, smallOptions()),
        "A scan index does not fit the 16 bits of a point source"
    );
    EXPECT_EQ(folder.entryCount(), 0U);
}
}  // namespace
