#pragma once

#include "octree/Export.h"
#include "octree/las/LazHeader.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <stop_token>
#include <vector>

namespace Las
{
/// The rows that points are decoded into: those fields that attributes are read from, packed. X, Y and Z are
/// signed integers of 4 bytes, the others unsigned, of 2 bytes but for the classification's one.
struct LasRow
{
    static constexpr std::size_t kX = 0;
    static constexpr std::size_t kY = 4;
    static constexpr std::size_t kZ = 8;
    static constexpr std::size_t kIntensity = 12;
    static constexpr std::size_t kPointSource = 14;
    static constexpr std::size_t kClassification = 16;
    static constexpr std::size_t kColors = 17;  ///< red, green, blue, where points have them

    // From records() on, where the header asks for them: bytes, and these.
    static constexpr std::size_t kReturnNumber = 0;
    static constexpr std::size_t kReturnCount = 1;
    static constexpr std::size_t kUserData = 2;
    static constexpr std::size_t kScanAngle = 3;  ///< float, degrees
    static constexpr std::size_t kGpsTime = 7;    ///< double; 0 where points have none
    static constexpr std::size_t kRecordBytes = 15;

    /// Where in a row the fields begin that the header asks for by LazHeader::hasRecordRows.
    static constexpr std::size_t records(const LazHeader& header) noexcept
    {
        return header.hasColors ? kColors + 6 : kColors;
    }

    /// Bytes of a row.
    static constexpr std::size_t length(const LazHeader& header) noexcept
    {
        return records(header) + (header.hasRecordRows ? kRecordBytes : 0);
    }
};

/// Unpacks one chunk of a compressed LAS file into rows. It needs nothing of the file but its header: neither
/// the chunk table nor any other chunk. Layers of which rows have nothing are stepped over.
///
/// The rows grow as points arrive: no count can make them large without points that unpack. Beside them the
/// decoder takes as much as the chunk, and some kilobytes for each byte of a record.
///
/// Threads  any; one `out` per thread.
/// Source   LASzip, through its library.
/// @param chunk       the chunk's bytes, nothing before or after them
/// @param pointCount  points of the chunk
/// @param out         replaced by the rows, see LasRow; keeps its capacity from call to call
/// @return false when a stop was requested; it is looked at every some thousand points
/// @throws std::runtime_error  for points that are broken or truncated, or bytes behind them
OCTREE_API bool decodeChunk(
    std::span<const std::byte> chunk,
    std::uint32_t pointCount,
    const LazHeader& header,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
);

/// The same for all chunks of a file, one behind the other: header.chunkSize points in each but the last.
/// @param chunks      as equalChunks() gives them
/// @param pointCount  points of all chunks
/// @throws std::invalid_argument  for a header that says that chunks have varying numbers of points
OCTREE_API bool decodeChunks(
    std::span<const std::byte> chunks,
    std::uint32_t pointCount,
    const LazHeader& header,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
);
}  // namespace Las
