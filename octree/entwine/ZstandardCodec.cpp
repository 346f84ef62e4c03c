#include "octree/entwine/ZstandardCodec.h"

#include "octree/entwine/rowsExpected.h"
#include "octree/entwine/zstdDecode.h"

#include <stdexcept>
#include <string>

namespace Entwine
{
namespace
{
/// The longest frame that rows can become: bytes that do not compress are kept in blocks with headers.
std::uint64_t largestFrame(std::uint64_t size)
{
    return size + size / 128 + 1024;
}
}  // namespace

void ZstandardCodec::checkStored(
    std::uint64_t stored, const Octree::RowLayout& layout, std::uint64_t pointCount
) const
{
    checkRows(pointCount, layout.bytesPerPoint);
    if (stored > largestFrame(pointCount * layout.bytesPerPoint))
    {
        throw std::runtime_error(
            std::to_string(stored) + " bytes, expected " + rowsExpected(pointCount, layout.bytesPerPoint)
        );
    }
}

std::optional<Tile> ZstandardCodec::unpacked(
    const Octree::RowLayout& layout,
    std::uint64_t pointCount,
    const Octree::ScratchLoan& scratch,
    const std::stop_token& stopToken,
    unsigned
) const
{
    const auto size = static_cast<std::size_t>(pointCount * layout.bytesPerPoint);
    try
    {
        if (!zstdDecode(scratch.stored, size, scratch.unpacked, stopToken))
        {
            return std::nullopt;
        }
    }
    catch (const std::runtime_error& error)
    {
        throw std::runtime_error(
            std::string(error.what()) + ", that is " + rowsExpected(pointCount, layout.bytesPerPoint)
        );
    }
    return Tile{layout, scratch.unpacked};
}
}  // namespace Entwine
