#include "octree/entwine/TileReader.h"

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
auto naming(const Core::ByteSource& file, const Step& step)
{
    try
    {
        return step();
    }
    catch (const std::runtime_error& error)
    {
        throw Octree::fileError(file.name(), error.what());
    }
}
}  // namespace

TileReader::TileReader(std::shared_ptr<const Core::ByteFolder> files, const Metadata& metadata)
    : mFiles(std::move(files)), mCodec(tileCodec(metadata.dataType)), mLayout(metadata)
{
}

std::string TileReader::fileOf(const Octree::OctreeNodeId& id) const
{
    return "ept-data/" + nodeKey(id) + mCodec.extension();
}

std::string TileReader::nameOf(const Octree::OctreeNodeId& id) const
{
    return mFiles->nameOf(fileOf(id));
}

std::optional<Tile> TileReader::read(
    const Octree::OctreeNodeId& id,
    std::uint64_t pointCount,
    const Octree::ScratchLoan& scratch,
    const std::stop_token& stopToken
) const
{
    if (pointCount > Octree::kMaxPointsPerNode)
    {
        throw Octree::fileError(
            nameOf(id),
            "the hierarchy announces " + std::to_string(pointCount) + " points, expected at most " +
                std::to_string(Octree::kMaxPointsPerNode)
        );
    }
    const std::unique_ptr<const Core::ByteSource> file = mFiles->open(fileOf(id), stopToken);
    if (!file)
    {
        return std::nullopt;
    }
    const std::uint64_t stored = file->size();
    naming(*file, [&] { mCodec.checkStored(stored, mLayout, pointCount); });
    scratch.stored.resize(static_cast<std::size_t>(stored));
    if (!file->readAt(0, scratch.stored, stopToken))
    {
        return std::nullopt;
    }
    return naming(*file, [&] { return mCodec.unpacked(mLayout, pointCount, scratch, stopToken); });
}
}  // namespace Entwine
