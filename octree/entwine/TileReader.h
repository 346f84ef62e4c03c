#pragma once

#include "octree/Export.h"
#include "octree/OctreeNodeId.h"
#include "octree/ScratchLoan.h"
#include "octree/entwine/Metadata.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <stop_token>

namespace Entwine
{
/// Reads the tiles of ept-data as rows.
///
/// Hierarchy and tile must agree on the number of points; memory is taken only for bytes that are there.
/// Threads  all operations from any threads at once.
class OCTREE_API TileReader
{
public:
    /// @param folder  the one with the tiles
    TileReader(std::filesystem::path folder, const Metadata& metadata);

    /// @param pointCount  what the hierarchy says, above 0
    /// @param scratch     keeps the rows
    /// @return the rows, or nothing when a stop was requested
    /// @throws std::runtime_error  naming the file, for one that is missing, broken, larger than 1 GiB or of
    ///                             another number of points, and always for laszip tiles: this build has no
    ///                             decoder for them
    std::optional<std::span<const std::byte>> read(
        const Octree::OctreeNodeId& id,
        std::uint64_t pointCount,
        const Octree::ScratchLoan& scratch,
        const std::stop_token& stopToken
    ) const;

    std::filesystem::path fileOf(const Octree::OctreeNodeId& id) const;

private:
    std::filesystem::path mFolder;
    DataType mDataType;
    std::uint64_t mBytesPerPoint;
};
}  // namespace Entwine
