#pragma once

#include "octree/entwine/TileCodec.h"

namespace Entwine
{
/// Tiles that are plain rows.
class BinaryCodec final : public TileCodec
{
public:
    const char* name() const noexcept override { return "binary"; }

    const char* extension() const noexcept override { return ".bin"; }

    bool hasRowsOfSchema() const noexcept override { return true; }

    void checkStored(std::uint64_t stored, const Octree::RowLayout& layout, std::uint64_t pointCount)
        const override;

    std::optional<Tile> unpacked(
        const Octree::RowLayout& layout,
        std::uint64_t pointCount,
        const Octree::ScratchLoan& scratch,
        const std::stop_token& stopToken,
        unsigned attributes
    ) const override;
};
}  // namespace Entwine
