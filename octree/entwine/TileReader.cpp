#include "octree/entwine/TileReader.h"

#include "core/PositionalFile.h"
#include "octree/entwine/lazDecode.h"
#include "octree/entwine/lazHeader.h"
#include "octree/entwine/nodeKey.h"
#include "octree/entwine/zstdDecode.h"
#include "octree/fileError.h"
#include "octree/kMaxPointsPerNode.h"
#include "octree/unpackedSize.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Entwine
{
namespace
{
const char* extension(DataType dataType)
{
    switch (dataType)
    {
        case DataType::Binary:
            return ".bin";
        case DataType::Zstandard:
            return ".zst";
        case DataType::Laszip:
            break;
    }
    return ".laz";
}

/// The longest frame that rows can become: bytes that do not compress are kept in blocks with headers.
std::uint64_t largestFrame(std::uint64_t size)
{
    return size + size / 128 + 1024;
}

/// More than a compressed LAS file of that many points takes with records of the longest allowed and chunks
/// of one point.
std::uint64_t largestLaz(std::uint64_t pointCount)
{
    constexpr std::uint64_t kHeaders = 16U << 20U;  // records on coordinate systems and the like
    constexpr std::uint64_t kPoint = 2048;
    return std::min(Octree::kMaxUnpackedSize, kHeaders + pointCount * kPoint);
}

std::string expectation(std::uint64_t pointCount, std::uint64_t bytesPerPoint)
{
    return std::to_string(pointCount) + " points of " + std::to_string(bytesPerPoint) +
           " bytes as the hierarchy says";
}

void checkRows(std::uint64_t pointCount, std::uint64_t bytesPerPoint)
{
    if (pointCount * bytesPerPoint > Octree::kMaxUnpackedSize)  // 32 bits times at most 8192
    {
        throw std::runtime_error(
            expectation(pointCount, bytesPerPoint) + " are too many, expected at most " +
            std::to_string(Octree::kMaxUnpackedSize) + " bytes"
        );
    }
}

/// Looks at nothing but the number of bytes of the file.
void checkStored(
    std::uint64_t stored, DataType dataType, std::uint64_t pointCount, std::uint64_t bytesPerPoint
)
{
    if (dataType == DataType::Laszip)
    {
        const std::uint64_t limit = largestLaz(pointCount);
        if (stored > limit)
        {
            throw std::runtime_error(
                std::to_string(stored) + " bytes, expected at most " + std::to_string(limit) + " for " +
                std::to_string(pointCount) + " points as the hierarchy says"
            );
        }
        return;
    }
    checkRows(pointCount, bytesPerPoint);
    const std::uint64_t size = pointCount * bytesPerPoint;
    if (dataType == DataType::Zstandard ? stored > largestFrame(size) : stored != size)
    {
        throw std::runtime_error(
            std::to_string(stored) + " bytes, expected " + expectation(pointCount, bytesPerPoint)
        );
    }
}

std::optional<Tile> unpackedZstd(
    const TileLayout& layout,
    std::uint64_t pointCount,
    const Octree::ScratchLoan& scratch,
    const std::stop_token& stopToken
)
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
            std::string(error.what()) + ", that is " + expectation(pointCount, layout.bytesPerPoint)
        );
    }
    return Tile{layout, scratch.unpacked};
}

std::optional<Tile> unpackedLaz(
    const TileLayout& declared,
    std::uint64_t pointCount,
    const Octree::ScratchLoan& scratch,
    const std::stop_token& stopToken
)
{
    const LazHeader header = parseLazHeader(scratch.stored, pointCount);
    TileLayout layout = lazLayout(header, declared);
    checkRows(pointCount, layout.bytesPerPoint);
    if (!lazDecode(scratch.stored, header, scratch.unpacked, stopToken))
    {
        return std::nullopt;
    }
    return Tile{std::move(layout), scratch.unpacked};
}

/// Puts the file's name before what goes wrong in `step`.
template <class Step>
auto naming(const std::filesystem::path& path, const Step& step)
{
    try
    {
        return step();
    }
    catch (const std::runtime_error& error)
    {
        throw Octree::fileError(path, error.what());
    }
}
}  // namespace

TileReader::TileReader(std::filesystem::path folder, const Metadata& metadata)
    : mFolder(std::move(folder)), mDataType(metadata.dataType), mLayout(metadata)
{
}

std::filesystem::path TileReader::fileOf(const Octree::OctreeNodeId& id) const
{
    return mFolder / (nodeKey(id) + extension(mDataType));
}

std::optional<Tile> TileReader::read(
    const Octree::OctreeNodeId& id,
    std::uint64_t pointCount,
    const Octree::ScratchLoan& scratch,
    const std::stop_token& stopToken
) const
{
    if (stopToken.stop_requested())
    {
        return std::nullopt;
    }
    const std::filesystem::path path = fileOf(id);
    if (pointCount > Octree::kMaxPointsPerNode)
    {
        throw Octree::fileError(
            path,
            "the hierarchy announces " + std::to_string(pointCount) + " points, expected at most " +
                std::to_string(Octree::kMaxPointsPerNode)
        );
    }
    const Core::PositionalFile file(path);
    const std::uint64_t stored = file.size();
    naming(path, [&] { checkStored(stored, mDataType, pointCount, mLayout.bytesPerPoint); });
    scratch.stored.resize(static_cast<std::size_t>(stored));
    file.readAt(0, scratch.stored);
    if (mDataType == DataType::Binary)
    {
        return Tile{mLayout, scratch.stored};
    }
    const auto unpacked = mDataType == DataType::Zstandard ? unpackedZstd : unpackedLaz;
    return naming(path, [&] { return unpacked(mLayout, pointCount, scratch, stopToken); });
}
}  // namespace Entwine
