#include "octree/las/LazHeader.h"
#include "octree/las/decodeChunks.h"
#include "tests/support/lazEncoded.h"
#include "tests/support/messageOf.h"
#include "tests/support/sha256.h"
#include "tests/support/testData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace
{
using Las::LasRow;
using Las::LazHeader;
using testing::HasSubstr;

using Bytes = std::span<const std::byte>;

Bytes bytesOf(const std::string& text)
{
    return std::as_bytes(std::span(text));
}

template <class T>
T valueAt(Bytes bytes, std::size_t position)
{
    T value;
    std::memcpy(&value, bytes.subspan(position, sizeof value).data(), sizeof value);
    return value;
}

/// The bytes of the only chunk of a file of equal chunks.
Bytes onlyChunk(const std::string& file)
{
    return Las::equalChunks(bytesOf(file), Las::parseLazHeader(bytesOf(file), file.size()));
}

std::vector<LazPoint> line(std::uint32_t count)
{
    std::vector<LazPoint> points(count);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        points[i].position = {static_cast<std::int32_t>(i), 7, -static_cast<std::int32_t>(i)};
        points[i].intensity = static_cast<std::uint16_t>(3 * i);
    }
    return points;
}

// A point cloud that another program compressed, layer by layer, with a chunk of its own for each of its 65
// nodes. An independent reader found the values of its reference.json.
class RealChunks : public testing::Test
{
protected:
    struct Node
    {
        std::array<std::int32_t, 4> key{};
        Bytes chunk;
        std::uint32_t pointCount = 0;
    };

    static std::string contentOf(const std::filesystem::path& path)
    {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// The nodes that have points, as the file's list of them says.
    std::vector<Node> nodes() const
    {
        constexpr std::size_t kEntry = 32;
        const std::size_t list = reference["root_hierarchy"]["offset"];
        const std::size_t size = reference["root_hierarchy"]["size"];
        std::vector<Node> result;
        for (std::size_t entry = list; entry < list + size; entry += kEntry)
        {
            Node& node = result.emplace_back();
            for (std::size_t i = 0; i < node.key.size(); ++i)
            {
                node.key[i] = valueAt<std::int32_t>(bytesOf(file), entry + 4 * i);
            }
            node.chunk = bytesOf(file).subspan(
                valueAt<std::uint64_t>(bytesOf(file), entry + 16),
                valueAt<std::uint32_t>(bytesOf(file), entry + 24)
            );
            node.pointCount = valueAt<std::uint32_t>(bytesOf(file), entry + 28);
        }
        return result;
    }

    std::vector<std::byte> decoded(const Node& node) const
    {
        // No other byte of the file: a copy, so that reading beyond it would be found.
        const std::vector<std::byte> chunk(node.chunk.begin(), node.chunk.end());
        std::vector<std::byte> rows;
        EXPECT_TRUE(Las::decodeChunk(chunk, node.pointCount, header, rows, {}));
        return rows;
    }

    const std::filesystem::path folder = testData() / "copc_color12";
    const nlohmann::json reference = nlohmann::json::parse(contentOf(folder / "reference.json"));
    const std::string file = contentOf(folder / "color12.copc.laz");
    const LazHeader header = Las::parseLazHeader(
        bytesOf(file).first(Las::lazHeaderSize(bytesOf(file).first(Las::kShortestLasHeader), file.size())),
        file.size()
    );
};

TEST_F(RealChunks, HeaderIsThatOfTheReference)
{
    EXPECT_EQ(header.pointFormat, reference["point_format"].get<unsigned>());
    EXPECT_EQ(header.pointCount, reference["points"].get<std::uint64_t>());
    EXPECT_EQ(header.scale, (reference["scale"].get<std::array<double, 3>>()));
    EXPECT_EQ(header.offset, (reference["offset"].get<std::array<double, 3>>()));
    EXPECT_TRUE(header.isLayered);
    EXPECT_TRUE(header.hasColors);
    EXPECT_EQ(header.chunkSize, LazHeader::kVaryingChunks);
}

TEST_F(RealChunks, EachDecodedAloneGivesTheReferencesPoints)
{
    std::vector<std::array<std::int64_t, 7>> points;  // x, y, z, red, green, blue, intensity
    std::int64_t intensitySum = 0;
    std::map<std::string, std::int64_t> classes;
    std::uint16_t fewestSource = 65535;
    std::uint16_t mostSource = 0;
    for (const Node& node : nodes())
    {
        const std::vector<std::byte> rows = decoded(node);
        ASSERT_EQ(rows.size(), node.pointCount * LasRow::length(header));
        for (std::size_t at = 0; at < rows.size(); at += LasRow::length(header))
        {
            auto& point = points.emplace_back();
            for (std::size_t i = 0; i < 3; ++i)
            {
                point[i] = valueAt<std::int32_t>(rows, at + LasRow::kX + 4 * i);
                point[3 + i] = valueAt<std::uint16_t>(rows, at + LasRow::kColors + 2 * i);
            }
            point[6] = valueAt<std::uint16_t>(rows, at + LasRow::kIntensity);
            intensitySum += point[6];
            ++classes[std::to_string(valueAt<std::uint8_t>(rows, at + LasRow::kClassification))];
            const auto source = valueAt<std::uint16_t>(rows, at + LasRow::kPointSource);
            fewestSource = std::min(fewestSource, source);
            mostSource = std::max(mostSource, source);
        }
    }
    std::ranges::sort(points);

    EXPECT_EQ(points.size(), reference["points"].get<std::size_t>());
    EXPECT_EQ(intensitySum, reference["intensity"]["sum"].get<std::int64_t>());
    EXPECT_EQ(classes, (reference["classification_histogram"].get<std::map<std::string, std::int64_t>>()));
    EXPECT_EQ(fewestSource, reference["point_source_id"]["min"].get<std::uint16_t>());
    EXPECT_EQ(mostSource, reference["point_source_id"]["max"].get<std::uint16_t>());
    EXPECT_EQ(
        sha256(std::as_bytes(std::span(points))),
        reference["sorted_ints_rgb_intensity_sha256"].get<std::string>()
    );
}

TEST_F(RealChunks, FirstAndLastPointsOfNodesAreThoseOfTheReference)
{
    const std::vector<Node> all = nodes();
    for (const auto& [name, sample] : reference["node_samples"].items())
    {
        const auto node =
            std::ranges::find(all, sample["key"].get<std::array<std::int32_t, 4>>(), &Node::key);
        ASSERT_NE(node, all.end()) << name;
        ASSERT_EQ(node->pointCount, sample["points"].get<std::uint32_t>()) << name;
        const std::vector<std::byte> rows = decoded(*node);
        for (const auto& [place, at] :
             {std::pair("first", std::size_t{0}), std::pair("last", rows.size() - LasRow::length(header))})
        {
            const nlohmann::json& expected = sample[place];
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                const double coordinate =
                    valueAt<std::int32_t>(rows, at + LasRow::kX + 4 * axis) * header.scale[axis] +
                    header.offset[axis];
                EXPECT_NEAR(coordinate, expected["xyz"][axis].get<double>(), 1e-6) << name << ' ' << place;
                EXPECT_EQ(
                    valueAt<std::uint16_t>(rows, at + LasRow::kColors + 2 * axis),
                    expected["rgb"][axis].get<std::uint16_t>()
                ) << name
                  << ' ' << place;
            }
            EXPECT_EQ(
                valueAt<std::uint16_t>(rows, at + LasRow::kIntensity),
                expected["intensity"].get<std::uint16_t>()
            );
            EXPECT_EQ(
                valueAt<std::uint8_t>(rows, at + LasRow::kClassification),
                expected["classification"].get<std::uint8_t>()
            );
            EXPECT_EQ(
                valueAt<std::uint16_t>(rows, at + LasRow::kPointSource),
                expected["point_source_id"].get<std::uint16_t>()
            );
        }
    }
}

TEST_F(RealChunks, TruncatedAndLengthenedOnesAreRefused)
{
    const Node node = nodes().front();
    std::vector<std::byte> rows;
    for (std::size_t size = 0; size < node.chunk.size(); size += 7)
    {
        EXPECT_THROW(
            Las::decodeChunk(node.chunk.first(size), node.pointCount, header, rows, {}), std::runtime_error
        ) << size;
    }
    std::vector<std::byte> longer(node.chunk.begin(), node.chunk.end());
    longer.resize(longer.size() + 3);

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Las::decodeChunk(longer, node.pointCount, header, rows, {}); }),
        HasSubstr("compressed points end 3 bytes before the end of the chunk")
    );
}

TEST_F(RealChunks, AnotherNumberOfPointsThanTheirsIsRefused)
{
    const Node node = nodes().front();
    std::vector<std::byte> rows;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&]
                                      { Las::decodeChunk(node.chunk, node.pointCount + 1, header, rows, {}); }
        ),
        HasSubstr("a chunk of 24 points, expected 25")
    );
}

// Without a table nobody knows how many points each has.
TEST_F(RealChunks, ChunksOfVaryingNumbersOfPointsAreNotDecodedInOneGo)
{
    std::vector<std::byte> rows;

    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Las::equalChunks(bytesOf(file), header); }),
        HasSubstr("chunks of varying numbers of points, expected chunks of equal numbers of points")
    );
    EXPECT_THROW(Las::decodeChunks(nodes().front().chunk, 24, header, rows, {}), std::invalid_argument);
}

TEST(LasChunk, OneOfOldPointsIsDecodedAlone)
{
    const std::string file = lazEncoded(line(300), {.pointFormat = 1});
    const LazHeader header = Las::parseLazHeader(bytesOf(file), file.size());
    std::vector<std::byte> rows;

    ASSERT_TRUE(Las::decodeChunk(onlyChunk(file), 300, header, rows, {}));

    ASSERT_EQ(rows.size(), 300 * LasRow::length(header));
    for (std::size_t i = 0; i < 300; ++i)
    {
        const std::size_t row = i * LasRow::length(header);
        EXPECT_EQ(valueAt<std::int32_t>(rows, row + LasRow::kX), static_cast<std::int32_t>(i));
        EXPECT_EQ(valueAt<std::int32_t>(rows, row + LasRow::kY), 7);
        EXPECT_EQ(valueAt<std::int32_t>(rows, row + LasRow::kZ), -static_cast<std::int32_t>(i));
        EXPECT_EQ(valueAt<std::uint16_t>(rows, row + LasRow::kIntensity), 3 * i);
    }
}

TEST(LasChunk, AStopRequestEndsTheDecoding)
{
    const std::string file = lazEncoded(line(300), {.pointFormat = 6});
    std::stop_source stop;
    stop.request_stop();
    std::vector<std::byte> rows;

    EXPECT_FALSE(Las::decodeChunk(
        onlyChunk(file), 300, Las::parseLazHeader(bytesOf(file), file.size()), rows, stop.get_token()
    ));
}

TEST(LasHeader, BytesThatEndBeforeThePointsAreRefused)
{
    const std::string file = lazEncoded(line(3), {.pointFormat = 6});
    const std::uint64_t size = Las::lazHeaderSize(bytesOf(file).first(Las::kShortestLasHeader), file.size());

    EXPECT_EQ(size, pointsPosition({.pointFormat = 6}));
    EXPECT_THAT(
        messageOf<std::runtime_error>([&] { Las::parseLazHeader(bytesOf(file).first(size - 1), file.size()); }
        ),
        HasSubstr("expected all before its points, " + std::to_string(size))
    );
}
}  // namespace
