#include "octree/entwine/LaszipCodec.h"

#include "octree/NodePointData.h"
#include "octree/entwine/lazLayout.h"
#include "octree/entwine/rowsExpected.h"
#include "octree/las/LazHeader.h"
#include "octree/las/decodeChunks.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace Entwine
{
namespace
{
/// More than a compressed LAS file of that many points takes with records of the longest allowed and chunks
/// of one point.
std::uint64_t largestLaz(std::uint64_t pointCount)
{
    constexpr std::uint64_t kHeaders = 16U << 20U;  // records on coordinate systems and the like
    constexpr std::uint64_t kPoint = 2048;
    return std::min(Octree::kMaxUnpackedSize, kHeaders + pointCount * kPoint);
}
}  // namespace

void LaszipCodec::checkStored(std::uint64_t stored, const Octree::RowLayout&, std::uint64_t pointCount) const
{
    const std::uint64_t limit = largestLaz(pointCount);
    if (stored > limit)
    {
        throw std::runtime_error(
            std::to_string(stored) + " bytes, expected at most " + std::to_string(limit) + " for " +
            std::to_string(pointCount) + " points as the hierarchy says"
        );
    }
}

std::optional<Tile> LaszipCodec::unpacked(
    const Octree::RowLayout& declared,
    std::uint64_t pointCount,
    const Octree::ScratchLoan& scratch,
    const std::stop_token& stopToken,
    unsigned attributes
) const
{
    Las::LazHeader header = Las::parseLazHeader(scratch.stored, scratch.stored.size());
    if (header.pointCount != pointCount)
    {
        throw std::runtime_error(
            std::to_string(header.pointCount) + " points, expected " + std::to_string(pointCount) +
            " as the hierarchy says"
        );
    }
    header.hasRecordRows = (attributes & Octree::kRecordAttributes) != 0;
    Octree::RowLayout layout = lazLayout(header, declared);
    checkRows(pointCount, layout.bytesPerPoint);
    const std::span<const std::byte> chunks = Las::equalChunks(scratch.stored, header);
    if (!Las::decodeChunks(
            chunks, static_cast<std::uint32_t>(pointCount), header, scratch.unpacked, stopToken
        ))
    {
        return std::nullopt;
    }
    return Tile{std::move(layout), scratch.unpacked};
}
}  // namespace Entwine
