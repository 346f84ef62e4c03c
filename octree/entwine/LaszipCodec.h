#pragma once

#include "octree/entwine/TileCodec.h"

namespace Entwine
{
/// Tiles that are compressed LAS files: their rows are the fields of the file, with its own scale and offset.
class LaszipCodec final : public TileCodec
{
public:
    const char* name() const noexcept override { return "laszip"; }

    const char* extension() const noexcept override { return ".laz"; }

    bool hasRowsOfSchema() const noexcept override { return false; }

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
