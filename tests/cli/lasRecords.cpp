#include "tests/cli/lasRecords.h"

#include <gtest/gtest.h>

#include <laszip/bytestreamin_array.hpp>
#include <laszip/lasreadpoint.hpp>

namespace
{
constexpr std::size_t kPointsBegin = 96;
constexpr std::size_t kPointFormat = 104;
constexpr std::size_t kRecordLength = 105;
constexpr std::size_t kPointCount = 247;

std::vector<LasRecord> plainRecords(const std::string& bytes)
{
    const bool hasColors = (bytes[kPointFormat] & 0x3f) == 7;
    const std::size_t length = numberAt<std::uint16_t>(bytes, kRecordLength);
    EXPECT_EQ(length, hasColors ? 36U : 30U);
    std::vector<LasRecord> records(numberAt<std::uint64_t>(bytes, kPointCount));
    std::size_t at = numberAt<std::uint32_t>(bytes, kPointsBegin);
    EXPECT_EQ(bytes.size(), at + records.size() * length);
    for (LasRecord& record : records)
    {
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            record.position[axis] = numberAt<std::int32_t>(bytes, at + 4 * axis);
            record.color[axis] =
                hasColors ? numberAt<std::uint16_t>(bytes, at + 30 + 2 * axis) : std::uint16_t{0};
        }
        record.intensity = numberAt<std::uint16_t>(bytes, at + 12);
        record.returns = numberAt<std::uint8_t>(bytes, at + 14);
        record.classification = numberAt<std::uint8_t>(bytes, at + 16);
        record.userData = numberAt<std::uint8_t>(bytes, at + 17);
        record.scanAngle = numberAt<std::int16_t>(bytes, at + 18);
        record.source = numberAt<std::uint16_t>(bytes, at + 20);
        record.time = numberAt<double>(bytes, at + 22);
        at += length;
    }
    return records;
}

std::vector<LasRecord> compressedRecords(const std::string& bytes)
{
    const std::string description = lasVariableRecord(bytes, "laszip encoded", 22204);
    LASzip compression;
    EXPECT_TRUE(compression.unpack(
        reinterpret_cast<const unsigned char*>(description.data()), static_cast<int>(description.size())
    ));
    EXPECT_TRUE(compression.check(numberAt<std::uint16_t>(bytes, kRecordLength)));
    ByteStreamInArrayLE stream(reinterpret_cast<const U8*>(bytes.data()), static_cast<I64>(bytes.size()));
    stream.seek(numberAt<std::uint32_t>(bytes, kPointsBegin));
    LASreadPoint reader;
    EXPECT_TRUE(reader.setup(compression.num_items, compression.items, &compression));
    EXPECT_TRUE(reader.init(&stream));
    alignas(8) std::array<U8, 128> point{};
    alignas(8) std::array<U8, 8> color{};
    const std::array<U8*, 2> items{point.data(), color.data()};
    std::vector<LasRecord> records(numberAt<std::uint64_t>(bytes, kPointCount));
    for (LasRecord& record : records)
    {
        EXPECT_TRUE(reader.read(items.data()));
        std::memcpy(&record.position, point.data(), sizeof record.position);
        std::memcpy(&record.intensity, point.data() + 12, sizeof record.intensity);
        record.userData = point[17];
        std::memcpy(&record.source, point.data() + 18, sizeof record.source);
        std::memcpy(&record.scanAngle, point.data() + 20, sizeof record.scanAngle);
        record.classification = point[23];
        record.returns = point[24];
        std::memcpy(&record.time, point.data() + 32, sizeof record.time);
        std::memcpy(&record.color, color.data(), sizeof record.color);
    }
    return records;
}
}  // namespace

std::vector<LasRecord> lasRecords(const std::string& bytes)
{
    EXPECT_EQ(bytes.substr(0, 4), "LASF");
    EXPECT_EQ(bytes.substr(24, 2), std::string("\1\4"));
    return (bytes[kPointFormat] & 0x80) != 0 ? compressedRecords(bytes) : plainRecords(bytes);
}

std::string lasVariableRecord(const std::string& bytes, const std::string& author, unsigned number)
{
    std::size_t at = numberAt<std::uint16_t>(bytes, 94);
    for (std::uint32_t left = numberAt<std::uint32_t>(bytes, 100); left > 0; --left)
    {
        const std::size_t length = numberAt<std::uint16_t>(bytes, at + 20);
        if (bytes.substr(at + 2, 16).c_str() == author && numberAt<std::uint16_t>(bytes, at + 18) == number)
        {
            return bytes.substr(at + 54, length);
        }
        at += 54 + length;
    }
    return {};
}
