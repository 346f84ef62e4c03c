#include "octree/copc/CopcHeader.h"

#include "core/ByteSource.h"
#include "octree/naming.h"
#include "octree/readFields.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Copc
{
namespace
{
using Octree::kLargestCoordinate;
using Bytes = std::span<const std::byte>;
using Box = Math::NBoundingBox<double, 3>;

constexpr std::string_view kSignature = "LASF";
constexpr std::size_t kMinorVersion = 25;
constexpr std::size_t kHeaderSizeAt = 94;
constexpr std::size_t kHeaderSize = 375;
constexpr std::size_t kPointFormat = 104;

constexpr std::string_view kAuthor = "copc";
constexpr unsigned kInfoNumber = 1;
constexpr std::size_t kInfoSize = 160;
constexpr std::size_t kSpacingAt = 32;
constexpr std::size_t kPageAt = 40;
constexpr std::size_t kTimesAt = 56;
constexpr unsigned kCoordinateSystem = 2112;  // number of the record with the WKT

/// Enough for all before the points in most files, so that they take one read.
constexpr std::uint64_t kFirstRead = 16U << 10U;

/// Most bytes before the points: records on coordinate systems and the like.
constexpr std::uint64_t kMaxBeforePoints = 16U << 20U;

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

/// How many bytes stand before the points.
std::uint64_t sizeBeforePoints(Bytes begin, std::uint64_t fileSize)
{
    require(
        isLas(begin) && begin.size() >= Las::kShortestLasHeader,
        "not a LAS file",
        "one that begins with \"LASF\" and a header of 375 bytes"
    );
    const std::uint64_t size = Las::lazHeaderSize(begin, fileSize);
    require(
        size <= kMaxBeforePoints,
        "points from byte " + std::to_string(size) + " on",
        "at most " + std::to_string(kMaxBeforePoints) + " bytes before them"
    );
    return size;
}

Bytes infoRecord(Bytes begin, std::uint64_t fileSize)
{
    const std::optional<Las::LasRecord> info = Las::findLasRecord(begin, fileSize, kAuthor, kInfoNumber);
    require(
        info.has_value(),
        "a LAS file without octree",
        "Cloud Optimized Point Cloud; \"pdal translate in.laz out.copc.laz\" makes that of LAS and LAZ files"
    );
    const unsigned minorVersion = at<std::uint8_t>(begin, kMinorVersion);
    require(minorVersion == 4, "LAS version 1." + std::to_string(minorVersion), "1.4 in a COPC file");
    const std::size_t headerSize = at<std::uint16_t>(begin, kHeaderSizeAt);
    require(
        headerSize == kHeaderSize,
        "a LAS header of " + std::to_string(headerSize) + " bytes",
        std::to_string(kHeaderSize) + " in a COPC file"
    );
    require(
        info->position == kHeaderSize + Las::kLasRecordHead,
        "the record \"copc\" at byte " + std::to_string(info->position - Las::kLasRecordHead),
        "the first of all, at byte " + std::to_string(kHeaderSize)
    );
    require(
        info->data.size() >= kInfoSize,
        "a record \"copc\" of " + std::to_string(info->data.size()) + " bytes",
        std::to_string(kInfoSize)
    );
    return info->data;
}

bool isCoordinate(double value) noexcept
{
    return std::abs(value) <= kLargestCoordinate;
}

Box cubeOf(Bytes info)
{
    const auto halfSize = at<double>(info, 3 * sizeof(double));
    require(
        halfSize > 0.0 && isCoordinate(halfSize), "bad half size of the cube", "a number above 0 up to 1e30"
    );
    Math::Point<double, 3> min;
    Math::Point<double, 3> max;
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const auto center = at<double>(info, axis * sizeof(double));
        require(
            isCoordinate(center) && center - halfSize < center + halfSize,
            std::string("bad center of the cube in ") + "XYZ"[axis],
            "a number within 1e30 to which half the size can be added"
        );
        min[axis] = center - halfSize;
        max[axis] = center + halfSize;
    }
    return {min, max};
}

/// The bounds in the header; of a file without points, where they say nothing, the cube.
Box boxOf(const Las::LazHeader& header, const Box& cube)
{
    if (header.pointCount == 0)
    {
        return cube;
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        require(
            isCoordinate(header.min[axis]) && isCoordinate(header.max[axis]) &&
                header.min[axis] <= header.max[axis],
            std::string("bad bounds of ") + "XYZ"[axis] + " in the LAS header",
            "two numbers within 1e30, the smaller one as minimum"
        );
    }
    return {{header.min[0], header.min[1], header.min[2]}, {header.max[0], header.max[1], header.max[2]}};
}

Extent rootPageOf(Bytes info, std::uint64_t fileSize)
{
    const Extent page{at<std::uint64_t>(info, kPageAt), at<std::uint64_t>(info, kPageAt + 8)};
    checkPage(page, fileSize);
    return page;
}

CopcHeader headerOf(Bytes begin, std::uint64_t fileSize)
{
    const Bytes info = infoRecord(begin, fileSize);
    const unsigned pointFormat =
        at<std::uint8_t>(begin, kPointFormat) & 0x3fU;  // without flags of compression
    require(
        pointFormat >= 6 && pointFormat <= 8,
        "point format " + std::to_string(pointFormat),
        "6, 7 or 8 in a COPC file"
    );
    CopcHeader header;
    header.las = Las::parseLazHeader(begin, fileSize);
    header.boundingCube = cubeOf(info);
    header.boundingBox = boxOf(header.las, header.boundingCube);
    header.spacing = at<double>(info, kSpacingAt);
    require(
        header.spacing > 0.0 && isCoordinate(header.spacing),
        "bad spacing of the root",
        "a number above 0 up to 1e30"
    );
    header.rootPage = rootPageOf(info, fileSize);
    header.smallestTime = at<double>(info, kTimesAt);
    header.largestTime = at<double>(info, kTimesAt + sizeof(double));
    if (const auto record = Las::findLasRecord(begin, fileSize, "LASF_Projection", kCoordinateSystem))
    {
        const std::string_view text(reinterpret_cast<const char*>(record->data.data()), record->data.size());
        header.coordinateSystem = text.substr(0, text.find('\0'));
    }
    return header;
}
}  // namespace

bool isLas(Bytes begin) noexcept
{
    return begin.size() >= kSignature.size() &&
           std::memcmp(begin.data(), kSignature.data(), kSignature.size()) == 0;
}

void checkPage(const Extent& page, std::uint64_t fileSize)
{
    const std::string place = std::to_string(page.size) + " bytes at byte " + std::to_string(page.offset);
    require(
        page.size > 0 && page.size <= kMaxPageSize && page.size % kHierarchyEntry == 0,
        "a hierarchy page of " + place,
        "entries of 32 bytes, at most " + std::to_string(kMaxPageSize) + " bytes together"
    );
    require(
        page.offset <= fileSize && page.size <= fileSize - page.offset,
        "a hierarchy page of " + place,
        "one within the file of " + std::to_string(fileSize)
    );
}

std::optional<CopcHeader> readCopcHeader(const Core::ByteSource& file, const std::stop_token& stopToken)
{
    const std::string name = file.name();
    std::vector<std::byte> begin(static_cast<std::size_t>(std::min(kFirstRead, file.size())));
    if (!file.readAt(0, begin, stopToken))
    {
        return std::nullopt;
    }
    const std::uint64_t needed = Octree::naming(name, [&] { return sizeBeforePoints(begin, file.size()); });
    const std::size_t present = begin.size();
    if (needed > present)
    {
        begin.resize(static_cast<std::size_t>(needed));
        if (!file.readAt(present, std::span(begin).subspan(present), stopToken))
        {
            return std::nullopt;
        }
    }
    return Octree::naming(name, [&] { return headerOf(begin, file.size()); });
}
}  // namespace Copc
