#include "octree/las/LazHeader.h"

#include "octree/readFields.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Las
{
namespace
{
using Bytes = std::span<const std::byte>;

// Positions of fields in the header.
constexpr std::size_t kVersion = 24;
constexpr std::size_t kHeaderSize = 94;
constexpr std::size_t kPointsBegin = 96;
constexpr std::size_t kRecordCount = 100;
constexpr std::size_t kPointFormat = 104;
constexpr std::size_t kRecordLength = 105;
constexpr std::size_t kPointCount = 107;
constexpr std::size_t kScale = 131;
constexpr std::size_t kOffset = 155;
constexpr std::size_t kBounds = 179;          // largest and smallest x, then y, then z
constexpr std::size_t kLongPointCount = 247;  // from LAS 1.4 on

constexpr std::size_t kShortHeader = kShortestLasHeader;  // up to LAS 1.2
constexpr std::size_t kLongHeader = 375;                  // from LAS 1.4 on

// A variable length record: 2 bytes reserved, 16 of the author, 2 of the number, 2 of the length, 32 of text.
constexpr std::size_t kRecordHead = kLasRecordHead;
constexpr std::size_t kAuthorSize = 16;  // filled up with zeros
constexpr const char* kLaszipAuthor = "laszip encoded";
constexpr unsigned kLaszipNumber = 22204;
constexpr std::size_t kLaszipFixedPart = 34;
constexpr std::size_t kLaszipItem = 6;

constexpr unsigned kChunkedCompressor = 2;
constexpr unsigned kLayeredCompressor = 3;
constexpr std::size_t kMaxExtraBytes = 1024;  // the coder takes some kilobytes for each of them
constexpr double kLargestScale = 1e20;

struct PointFormat
{
    unsigned number;
    bool hasTime;
    unsigned colorChannels;
};

constexpr std::array<PointFormat, 7> kPointFormats{
    {{0, false, 0}, {1, true, 0}, {2, false, 3}, {3, true, 3}, {6, true, 0}, {7, true, 3}, {8, true, 4}}};

[[noreturn]] void fail(const std::string& what, const std::string& expected)
{
    throw std::runtime_error(what + ", expected " + expected);
}

void require(bool good, const std::string& what, const std::string& expected)
{
    if (!good)
    {
        fail(what, expected);
    }
}

template <class T>
T at(Bytes bytes, std::size_t position)
{
    T value;
    std::memcpy(&value, bytes.subspan(position, sizeof value).data(), sizeof value);
    return value;
}

std::string_view text(Bytes bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The items of a record, in the versions that writers have used since 2011 and, of the layered ones, 2017.
std::vector<LazItem> itemsOf(
    const PointFormat& format, std::size_t recordLength, std::uint16_t layeredVersion
)
{
    const bool isLayered = format.number >= 6;
    const std::uint16_t version = isLayered ? layeredVersion : std::uint16_t{2};
    std::vector<LazItem> items;
    std::size_t length = 0;
    const auto add = [&](std::uint16_t type, std::size_t size)
    {
        items.push_back({type, static_cast<std::uint16_t>(size), version});
        length += size;
    };
    add(isLayered ? 10 : 6, isLayered ? 30 : 20);
    if (format.hasTime && !isLayered)  // layered points have it among their 30 bytes
    {
        add(7, 8);
    }
    if (format.colorChannels == 3)
    {
        add(isLayered ? 11 : 8, 6);
    }
    if (format.colorChannels == 4)
    {
        add(12, 8);
    }
    require(
        recordLength >= length && recordLength - length <= kMaxExtraBytes,
        "point records of " + std::to_string(recordLength) + " bytes",
        std::to_string(length) + " of point format " + std::to_string(format.number) + " and at most " +
            std::to_string(kMaxExtraBytes) + " more"
    );
    if (recordLength > length)
    {
        add(isLayered ? 14 : 0, recordLength - length);
    }
    return items;
}

void readCompression(Bytes record, const PointFormat& format, std::size_t recordLength, LazHeader& header)
{
    require(
        record.size() >= kLaszipFixedPart,
        "a record \"laszip encoded\" of " + std::to_string(record.size()) + " bytes",
        "at least " + std::to_string(kLaszipFixedPart)
    );
    const unsigned compressor = header.isLayered ? kLayeredCompressor : kChunkedCompressor;
    require(
        at<std::uint16_t>(record, 0) == compressor && at<std::uint16_t>(record, 2) == 0,
        "LASzip compressor " + std::to_string(at<std::uint16_t>(record, 0)) + ", coder " +
            std::to_string(at<std::uint16_t>(record, 2)),
        "compressor " + std::to_string(compressor) + ", coder 0 for point format " +
            std::to_string(format.number)
    );
    header.chunkSize = at<std::uint32_t>(record, 12);
    require(header.chunkSize != 0, "chunks of no points", "chunks of equal numbers of points");
    const std::size_t itemCount = at<std::uint16_t>(record, 32);
    std::vector<LazItem> items;
    for (std::size_t i = 0; i < itemCount && kLaszipFixedPart + (i + 1) * kLaszipItem <= record.size(); ++i)
    {
        const Bytes item = record.subspan(kLaszipFixedPart + i * kLaszipItem, kLaszipItem);
        items.push_back({at<std::uint16_t>(item, 0), at<std::uint16_t>(item, 2), at<std::uint16_t>(item, 4)});
    }
    const std::uint16_t version = !items.empty() && items[0].version == 4 ? 4 : 3;
    header.items = itemsOf(format, recordLength, version);
    require(
        items == header.items && items.size() == itemCount,
        "LASzip items that are not those of point format " + std::to_string(format.number),
        std::to_string(header.items.size()) + " items of " + std::to_string(recordLength) +
            " bytes together, in version " + std::to_string(header.items[0].version)
    );
}

const PointFormat& pointFormatOf(unsigned stored)
{
    const unsigned number = stored & 0x3fU;  // the upper two bits say that points are compressed
    const auto* const format = std::ranges::find(kPointFormats, number, &PointFormat::number);
    require(format != kPointFormats.end(), "point format " + std::to_string(number), "0 to 3 or 6 to 8");
    return *format;
}

/// Signature and version; tells the minor version, the number behind "1.".
unsigned versionOf(Bytes file)
{
    require(
        file.size() >= kShortHeader && text(file.first(4)) == "LASF",
        "not a LAS file",
        "one that begins with \"LASF\" and a header of at least " + std::to_string(kShortHeader) + " bytes"
    );
    const unsigned major = at<std::uint8_t>(file, kVersion);
    const unsigned minor = at<std::uint8_t>(file, kVersion + 1);
    require(
        major == 1 && minor <= 4,
        "LAS version " + std::to_string(major) + '.' + std::to_string(minor),
        "1.0 to 1.4"
    );
    return minor;
}

void readCoordinates(Bytes file, LazHeader& header)
{
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const std::string name(1, "XYZ"[axis]);
        header.scale[axis] = at<double>(file, kScale + axis * sizeof(double));
        header.offset[axis] = at<double>(file, kOffset + axis * sizeof(double));
        const double scale = std::abs(header.scale[axis]);
        require(
            scale > 0.0 && scale <= kLargestScale,
            "bad scale of " + name + " in the LAS header",
            "a number other than 0 within 1e20"
        );
        require(
            std::abs(header.offset[axis]) <= Octree::kLargestCoordinate,
            "bad offset of " + name + " in the LAS header",
            "a number within 1e30"
        );
        header.max[axis] = at<double>(file, kBounds + 2 * axis * sizeof(double));
        header.min[axis] = at<double>(file, kBounds + (2 * axis + 1) * sizeof(double));
    }
}
}  // namespace

std::uint64_t lazHeaderSize(Bytes begin, std::uint64_t fileSize)
{
    const unsigned minorVersion = versionOf(begin);
    const std::size_t shortest = minorVersion >= 4 ? kLongHeader : kShortHeader;
    const std::size_t headerSize = at<std::uint16_t>(begin, kHeaderSize);
    require(
        headerSize >= shortest && headerSize <= fileSize,
        "LAS header of " + std::to_string(headerSize) + " bytes",
        std::to_string(shortest) + " at least, within the file of " + std::to_string(fileSize)
    );
    const std::uint64_t pointsBegin = at<std::uint32_t>(begin, kPointsBegin);
    require(
        pointsBegin >= headerSize && pointsBegin <= fileSize,
        "points from byte " + std::to_string(pointsBegin) + " on",
        "a position from " + std::to_string(headerSize) + " to " + std::to_string(fileSize)
    );
    return pointsBegin;
}

namespace
{
/// The same, of bytes that are all there.
std::size_t presentHeaderSize(Bytes begin, std::uint64_t fileSize)
{
    const std::uint64_t size = lazHeaderSize(begin, fileSize);
    require(
        size <= begin.size(),
        std::to_string(begin.size()) + " bytes of a LAS file",
        "all before its points, " + std::to_string(size)
    );
    return static_cast<std::size_t>(size);
}
}  // namespace

std::optional<LasRecord> findLasRecord(
    Bytes begin, std::uint64_t fileSize, std::string_view author, unsigned number
)
{
    const std::size_t pointsBegin = presentHeaderSize(begin, fileSize);
    std::string wanted(author);
    wanted.resize(kAuthorSize, '\0');
    std::size_t position = at<std::uint16_t>(begin, kHeaderSize);
    for (std::uint32_t left = at<std::uint32_t>(begin, kRecordCount); left > 0; --left)
    {
        require(
            pointsBegin - position >= kRecordHead,
            "variable length records beyond the beginning of the points",
            std::to_string(left) + " more of them"
        );
        const Bytes head = begin.subspan(position, kRecordHead);
        const std::size_t length = at<std::uint16_t>(head, 20);
        position += kRecordHead;
        require(
            pointsBegin - position >= length,
            "a variable length record of " + std::to_string(length) + " bytes",
            "at most " + std::to_string(pointsBegin - position) + " before the points"
        );
        if (text(head.subspan(2, kAuthorSize)) == wanted && at<std::uint16_t>(head, 18) == number)
        {
            return LasRecord{position, begin.subspan(position, length)};
        }
        position += length;
    }
    return std::nullopt;
}

LazHeader parseLazHeader(Bytes begin, std::uint64_t fileSize)
{
    LazHeader header;
    header.pointsBegin = presentHeaderSize(begin, fileSize);
    header.pointCount = versionOf(begin) >= 4 ? at<std::uint64_t>(begin, kLongPointCount)
                                              : at<std::uint32_t>(begin, kPointCount);

    const PointFormat& format = pointFormatOf(at<std::uint8_t>(begin, kPointFormat));
    header.pointFormat = format.number;
    header.isLayered = format.number >= 6;
    header.hasColors = format.colorChannels > 0;
    header.hasTime = format.hasTime;
    readCoordinates(begin, header);
    const std::optional<LasRecord> compression = findLasRecord(begin, fileSize, kLaszipAuthor, kLaszipNumber);
    require(compression.has_value(), "points are not compressed by LASzip", "a record \"laszip encoded\"");
    readCompression(compression->data, format, at<std::uint16_t>(begin, kRecordLength), header);
    return header;
}

Bytes equalChunks(Bytes file, const LazHeader& header)
{
    require(
        header.chunkSize != LazHeader::kVaryingChunks,
        "chunks of varying numbers of points",
        "chunks of equal numbers of points"
    );
    const auto pointsBegin = static_cast<std::size_t>(header.pointsBegin);
    const std::size_t first = pointsBegin + sizeof(std::int64_t);
    require(
        file.size() >= first + 2 * sizeof(std::uint32_t),
        "the file ends after " + std::to_string(file.size()) + " bytes",
        "points and a chunk table behind byte " + std::to_string(first)
    );
    auto position = at<std::int64_t>(file, pointsBegin);
    if (position == -1)  // written in one pass, with the position at the end
    {
        position = at<std::int64_t>(file, file.size() - sizeof(std::int64_t));
    }
    require(
        position >= static_cast<std::int64_t>(first) &&
            position <= static_cast<std::int64_t>(file.size() - 2 * sizeof(std::uint32_t)),
        "chunk table at byte " + std::to_string(position) + " of " + std::to_string(file.size()),
        "one behind byte " + std::to_string(first) + " and before the end"
    );
    const auto table = static_cast<std::size_t>(position);
    const std::uint64_t chunks =
        header.pointCount / header.chunkSize + (header.pointCount % header.chunkSize > 0 ? 1U : 0U);
    require(
        at<std::uint32_t>(file, table) == 0 && at<std::uint32_t>(file, table + 4) == chunks,
        "chunk table of version " + std::to_string(at<std::uint32_t>(file, table)) + " with " +
            std::to_string(at<std::uint32_t>(file, table + 4)) + " chunks",
        "version 0 with " + std::to_string(chunks)
    );
    return file.subspan(first, table - first);
}
}  // namespace Las
