#pragma once

#include "octree/Export.h"
#include "octree/ScratchLoan.h"
#include "octree/entwine/Metadata.h"
#include "octree/rows/RowLayout.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stop_token>

namespace Entwine
{
/// The points of a tile as rows.
struct Tile
{
    Octree::RowLayout layout;         ///< of this tile: that of a laszip tile is its own
    std::span<const std::byte> rows;  ///< in memory of the scratch
};

/// One way in which tiles are stored: what it is called, what it may take, how it becomes rows.
///
/// Errors say what is wrong and what was expected, but do not name the file.
/// Threads  all operations from any threads at once.
class TileCodec
{
public:
    virtual ~TileCodec() = default;

    /// What descriptions call it.
    virtual const char* name() const noexcept = 0;

    /// The end of the names of tiles, with the dot.
    virtual const char* extension() const noexcept = 0;

    /// True when rows are laid out as the schema says. Else tiles have what every LAS point has: no normals,
    /// no OriginId, channels of 16 bits.
    virtual bool hasRowsOfSchema() const noexcept = 0;

    /// Looks at the number of bytes of a tile, before memory is taken for them.
    /// @param layout      of rows as the schema declares them
    /// @param pointCount  what the hierarchy says
    /// @throws std::runtime_error  when so many points cannot take so many bytes
    virtual void checkStored(std::uint64_t stored, const Octree::RowLayout& layout, std::uint64_t pointCount)
        const = 0;

    /// Makes rows of the bytes in scratch.stored, of which checkStored() has seen the number.
    /// @param attributes  AttributeMask bits: of Octree::kRecordAttributes rows need to have only these
    /// @return the tile, or nothing when a stop was requested
    /// @throws std::runtime_error  for bytes that are broken or of another number of points
    virtual std::optional<Tile> unpacked(
        const Octree::RowLayout& layout,
        std::uint64_t pointCount,
        const Octree::ScratchLoan& scratch,
        const std::stop_token& stopToken,
        unsigned attributes = 0
    ) const = 0;
};

/// All of them, by DataType.
OCTREE_API std::span<const TileCodec* const> tileCodecs() noexcept;

OCTREE_API const TileCodec& tileCodec(DataType dataType) noexcept;
}  // namespace Entwine
