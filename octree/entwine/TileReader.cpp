#include "octree/entwine/TileReader.h"

#include "core/PositionalFile.h"
#include "octree/entwine/nodeKey.h"
#include "octree/fileError.h"
#include "octree/kMaxPointsPerNode.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace Entwine
{
namespace
{
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
    : mFolder(std::move(folder)), mCodec(tileCodec(metadata.dataType)), mLayout(metadata)
{
}

std::filesystem::path TileReader::fileOf(const Octree::OctreeNodeId& id) const
{
    return mFolder / (nodeKey(id) + mCodec.extension());
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
    naming(path, [&] { mCodec.checkStored(stored, mLayout, pointCount); });
    scratch.stored.resize(static_cast<std::size_t>(stored));
    file.readAt(0, scratch.stored);
    return naming(path, [&] { return mCodec.unpacked(mLayout, pointCount, scratch, stopToken); });
}
}  // namespace Entwine
