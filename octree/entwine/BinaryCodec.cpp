#include "octree/entwine/BinaryCodec.h"

#include "octree/entwine/rowsExpected.h"

#include <stdexcept>
#include <string>

namespace Entwine
{
void BinaryCodec::checkStored(std::uint64_t stored, const Octree::RowLayout& layout, std::uint64_t pointCount)
    const
{
    checkRows(pointCount, layout.bytesPerPoint);
    if (stored != pointCount * layout.bytesPerPoint)
    {
        throw std::runtime_error(
            std::to_string(stored) + " bytes, expected " + rowsExpected(pointCount, layout.bytesPerPoint)
        );
    }
}

std::optional<Tile> BinaryCodec::unpacked(
    const Octree::RowLayout& layout,
    std::uint64_t,
    const Octree::ScratchLoan& scratch,
    const std::stop_token&,
    unsigned
) const
{
    return Tile{layout, scratch.stored};
}
}  // namespace Entwine
