#pragma once

#include "octree/entwine/TileCodec.h"

namespace Entwine
{
/// The same rows in one Zstandard frame.
class ZstandardCodec final : public TileCodec
{
public:
    const char* name() const noexcept override { return "zstandard"; }

    const char* extension() const noexcept override { return ".zst"; }

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
