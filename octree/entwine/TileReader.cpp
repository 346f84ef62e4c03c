#include "octree/entwine/TileReader.h"

#include "core/PositionalFile.h"
#include "octree/entwine/nodeKey.h"
#include "octree/entwine/zstdDecode.h"
#include "octree/fileError.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace Entwine
{
namespace
{
// Real tiles have up to some hundred thousand points of some tens of bytes.
constexpr std::uint64_t kMaxTileSize = std::uint64_t{1} << 30U;

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
}  // namespace

TileReader::TileReader(std::filesystem::path folder, const Metadata& metadata)
    : mFolder(std::move(folder)), mDataType(metadata.dataType), mBytesPerPoint(metadata.bytesPerPoint)
{
}

std::filesystem::path TileReader::fileOf(const Octree::OctreeNodeId& id) const
{
    return mFolder / (nodeKey(id) + extension(mDataType));
}

std::optional<std::span<const std::byte>> TileReader::read(
    const Octree::OctreeNodeId& id,
    std::uint64_t pointCount,
    const Octree::ScratchLoan& scratch,
    const std::stop_token& stopToken
) const
{
    const std::filesystem::path path = fileOf(id);
    if (mDataType == DataType::Laszip)
    {
        throw Octree::fileError(
            path,
            "laszip tiles cannot be read by this build, expected a data set of binary or zstandard tiles"
        );
    }
    if (stopToken.stop_requested())
    {
        return std::nullopt;
    }
    const std::string points = std::to_string(pointCount) + " points of " + std::to_string(mBytesPerPoint) +
                               " bytes as the hierarchy says";
    const std::uint64_t size = pointCount * mBytesPerPoint;  // 32 bits times at most 8192
    if (size > kMaxTileSize)
    {
        throw Octree::fileError(
            path, points + " are too many, expected at most " + std::to_string(kMaxTileSize) + " bytes"
        );
    }
    const Core::PositionalFile file(path);
    const std::uint64_t stored = file.size();
    const bool isPacked = mDataType == DataType::Zstandard;
    if (isPacked ? stored > largestFrame(size) : stored != size)
    {
        throw Octree::fileError(path, std::to_string(stored) + " bytes, expected " + points);
    }
    scratch.stored.resize(static_cast<std::size_t>(stored));
    file.readAt(0, scratch.stored);
    if (!isPacked)
    {
        return scratch.stored;
    }
    try
    {
        if (!zstdDecode(scratch.stored, static_cast<std::size_t>(size), scratch.unpacked, stopToken))
        {
            return std::nullopt;
        }
    }
    catch (const std::runtime_error& error)
    {
        throw Octree::fileError(path, std::string(error.what()) + ", that is " + points);
    }
    return scratch.unpacked;
}
}  // namespace Entwine
