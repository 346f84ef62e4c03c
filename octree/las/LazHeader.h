#pragma once

#include "octree/Export.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace Las
{
/// One part of a point that the LASzip coder treats by itself.
struct LazItem
{
    std::uint16_t type;     ///< number of LASzip's kinds of items
    std::uint16_t size;     ///< bytes of it in a record
    std::uint16_t version;  ///< of LASzip's way to compress it

    friend bool operator==(const LazItem&, const LazItem&) = default;
};

/// What a compressed LAS file says of its points, checked: all that the decoding of one of its chunks needs.
///
/// Threads  a plain value.
struct LazHeader
{
    /// chunkSize of files whose chunks have differing numbers of points.
    static constexpr std::uint32_t kVaryingChunks = std::numeric_limits<std::uint32_t>::max();

    unsigned pointFormat = 0;      ///< 0 to 3 or 6 to 8
    bool isLayered = false;        ///< of point formats 6 to 8: each field of a chunk is compressed by itself
    bool hasColors = false;        ///< 16 bits a channel
    bool hasTime = false;          ///< GPS time
    std::uint64_t pointCount = 0;  ///< of all chunks
    std::array<double, 3> scale{};   ///< coordinate = stored integer x scale + offset
    std::array<double, 3> offset{};  ///< likewise
    std::array<double, 3> min{};     ///< coordinates of the points as the file says; not checked
    std::array<double, 3> max{};     ///< likewise
    std::vector<LazItem> items;      ///< in the order of the record
    std::uint32_t chunkSize = 0;     ///< points of each chunk but the last, or kVaryingChunks
    /// Rows that points are decoded into have what was recorded with them, too.
    bool hasRecordRows = false;
    std::uint64_t pointsBegin =
        0;  ///< position in the file: 8 bytes, which locate the chunk table, then chunks

    /// Bytes of a record behind the fields of the point format.
    std::size_t extraBytes() const noexcept
    {
        constexpr std::uint16_t kBytes = 0;
        constexpr std::uint16_t kLayeredBytes = 14;
        const bool hasAny =
            !items.empty() && (items.back().type == kBytes || items.back().type == kLayeredBytes);
        return hasAny ? items.back().size : 0;
    }
};

/// Bytes of a file, from its beginning, that always have the position of the points.
inline constexpr std::size_t kShortestLasHeader = 227;

/// How many bytes from the beginning of a file parseLazHeader() needs: all up to the points.
/// @param begin     the first bytes of the file, at least kShortestLasHeader
/// @param fileSize  of the whole file
/// @throws std::runtime_error  as parseLazHeader()
OCTREE_API std::uint64_t lazHeaderSize(std::span<const std::byte> begin, std::uint64_t fileSize);

/// Reads and checks the header of a LAS file and its record on the compression.
///
/// Understood are LAS 1.0 to 1.4, point formats without wave packets, and the present versions of LASzip's
/// items.
/// @param begin     the file's bytes up to its points, or more
/// @param fileSize  of the whole file
/// @throws std::runtime_error  naming what is wrong and what was expected, but not the file
/// Source   LAS 1.4 R15 (ASPRS, 2019); M. Isenburg, "LASzip: lossless compression of LiDAR data", PE&RS 79
/// (2013).
OCTREE_API LazHeader parseLazHeader(std::span<const std::byte> begin, std::uint64_t fileSize);

/// A variable length record in front of the points.
struct LasRecord
{
    std::uint64_t position = 0;       ///< of its data in the file
    std::span<const std::byte> data;  ///< what follows its head
};

/// Bytes of the head of a variable length record.
inline constexpr std::size_t kLasRecordHead = 54;

/// The first record of that author and number, or nothing when there is none.
/// @param begin   the file's bytes up to its points, or more
/// @param author  at most 16 bytes
/// @throws std::runtime_error  as parseLazHeader(), for records that do not end before the points
OCTREE_API std::optional<LasRecord> findLasRecord(
    std::span<const std::byte> begin, std::uint64_t fileSize, std::string_view author, unsigned number
);

/// The chunks of a file with chunks of equal numbers of points, one behind the other, without the table that
/// follows them. The head of that table is checked.
/// @param file  the whole file that the header was read from
/// @throws std::runtime_error  naming what is wrong and what was expected, but not the file; also for chunks
/// of
///                             varying numbers of points
OCTREE_API std::span<const std::byte> equalChunks(std::span<const std::byte> file, const LazHeader& header);
}  // namespace Las
