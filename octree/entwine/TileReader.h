#pragma once

#include "core/ByteFolder.h"
#include "octree/Export.h"
#include "octree/OctreeNodeId.h"
#include "octree/ScratchLoan.h"
#include "octree/entwine/Metadata.h"
#include "octree/entwine/TileCodec.h"
#include "octree/rows/RowLayout.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace Entwine
{
/// Reads the tiles of ept-data as rows.
///
/// Hierarchy and tile must agree on the number of points; memory is taken only for bytes that are there.
/// Threads  all operations from any threads at once.
class OCTREE_API TileReader
{
public:
    /// @param files  of the data set
    TileReader(std::shared_ptr<const Core::ByteFolder> files, const Metadata& metadata);

    /// @param pointCount  what the hierarchy says, above 0
    /// @param attributes  AttributeMask bits: of Octree::kRecordAttributes rows need to have only these
    /// @param scratch     keeps the rows
    /// @return the tile, or nothing when a stop was requested
    /// @throws std::runtime_error  naming the file, for one that is missing, broken, larger than 1 GiB or of
    ///                             another number of points, and for a laszip tile without the colours that
    ///                             the schema declares
    std::optional<Tile> read(
        const Octree::OctreeNodeId& id,
        std::uint64_t pointCount,
        unsigned attributes,
        const Octree::ScratchLoan& scratch,
        const std::stop_token& stopToken
    ) const;

    /// Says that a tile will soon be read, or that it will not; see Core::ByteFolder::expect().
    void expect(const Octree::OctreeNodeId& id) const noexcept;
    void forget(const Octree::OctreeNodeId& id) const noexcept;

    /// A tile's name for messages.
    std::string nameOf(const Octree::OctreeNodeId& id) const;

private:
    std::string fileOf(const Octree::OctreeNodeId& id) const;

    std::shared_ptr<const Core::ByteFolder> mFiles;
    const TileCodec& mCodec;
    Octree::RowLayout mLayout;  // of rows as the schema declares them
};
}  // namespace Entwine
