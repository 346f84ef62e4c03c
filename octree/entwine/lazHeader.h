#pragma once

#include "octree/Export.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Entwine
{
/// One part of a point that the LASzip coder treats by itself.
struct LazItem
{
    std::uint16_t type;  ///< number of LASzip's kinds of items
    std::uint16_t size;  ///< bytes of it in a record
    std::uint16_t version;

    friend bool operator==(const LazItem&, const LazItem&) = default;
};

/// What a compressed LAS file says of its points, checked.
///
/// Positions are bytes of the file.
struct LazHeader
{
    unsigned pointFormat = 0;  ///< 0 to 3 or 6 to 8
    bool isLayered = false;    ///< of point formats 6 to 8: each field of a chunk is compressed by itself
    bool hasColors = false;
    std::uint32_t pointCount = 0;
    std::array<double, 3> scale{};  ///< coordinate = stored integer x scale + offset
    std::array<double, 3> offset{};
    std::vector<LazItem> items;       ///< in the order of the record
    std::uint32_t chunkSize = 0;      ///< points of each chunk but the last
    std::size_t pointsBegin = 0;      ///< 8 bytes, which locate the chunk table, then the first chunk
    std::size_t chunkTableBegin = 0;  ///< where the last chunk ends
};

/// Reads and checks the header of a LAS file, its record on the compression, and the head of its chunk table.
///
/// Understood are LAS 1.0 to 1.4, point formats without wave packets, chunks of equal numbers of points, and
/// the present versions of LASzip's items, which is what tiles are written with.
/// @param file        the whole file
/// @param pointCount  what the hierarchy says
/// @throws std::runtime_error  naming what is wrong and what was expected, but not the file
/// Source   LAS 1.4 R15 (ASPRS, 2019); M. Isenburg, "LASzip: lossless compression of LiDAR data", PE&RS 79
/// (2013).
OCTREE_API LazHeader parseLazHeader(std::span<const std::byte> file, std::uint64_t pointCount);
}  // namespace Entwine
