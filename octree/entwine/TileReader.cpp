#include "octree/entwine/TileReader.h"

#include "octree/entwine/nodeKey.h"
#include "octree/entwine/rowLayout.h"
#include "octree/fileError.h"
#include "octree/kMaxPointsPerNode.h"
#include "octree/naming.h"

#include <string>
#include <utility>

namespace Entwine
{
TileReader::TileReader(std::shared_ptr<const Core::ByteFolder> files, const Metadata& metadata)
    : mFiles(std::move(files)), mCodec(tileCodec(metadata.dataType)), mLayout(rowLayout(metadata))
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

void TileReader::expect(const Octree::OctreeNodeId& id) const noexcept
{
    mFiles->expect(Core::Extent::Whole, fileOf(id));
}

void TileReader::forget(const Octree::OctreeNodeId& id) const noexcept
{
    mFiles->forget(fileOf(id));
}

std::optional<Tile> TileReader::read(
    const Octree::OctreeNodeId& id,
    std::uint64_t pointCount,
    unsigned attributes,
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
    const std::unique_ptr<const Core::ByteSource> file =
        mFiles->openFor(Core::Extent::Whole, fileOf(id), stopToken);
    if (!file)
    {
        return std::nullopt;
    }
    const std::uint64_t stored = file->size();
    Octree::naming(file->name(), [&] { mCodec.checkStored(stored, mLayout, pointCount); });
    scratch.stored.resize(static_cast<std::size_t>(stored));
    if (!file->readAt(0, scratch.stored, stopToken))
    {
        return std::nullopt;
    }
    return Octree::naming(
        file->name(), [&] { return mCodec.unpacked(mLayout, pointCount, scratch, stopToken, attributes); }
    );
}
}  // namespace Entwine
