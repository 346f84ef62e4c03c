#include "octree/entwine/EntwineTree.h"

#include "octree/PointSink.h"
#include "octree/ScratchLoan.h"
#include "octree/entwine/TileCodec.h"
#include "octree/entwine/nodeKey.h"
#include "octree/entwine/rowLayout.h"
#include "octree/fileError.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <string>
#include <utility>

namespace Entwine
{
namespace
{
using Octree::OctreeNodeId;

std::string typeName(const Dimension& dimension)
{
    if (dimension.type == NumberType::Float)
    {
        return dimension.size == sizeof(float) ? "float" : "double";
    }
    const char* const kind = dimension.type == NumberType::Signed ? "int" : "uint";
    return kind + std::to_string(8 * dimension.size);
}

double stepOf(const Dimension& dimension)
{
    return dimension.type == NumberType::Float ? 0.0 : dimension.scale;
}

Octree::TreeDescription describe(
    const Metadata& metadata, const Octree::RowLayout& layout, const Core::ByteFolder& files
)
{
    Octree::TreeDescription description;
    description.name = files.title();
    description.encoding = tileCodec(metadata.dataType).name();
    description.position = metadata.referencePosition();
    description.boundingBox = metadata.boundingBox;
    description.boundingCube = metadata.boundingCube;
    description.spacing = metadata.spacing;
    description.positionStep = {
        stepOf(layout.position[0]), stepOf(layout.position[1]), stepOf(layout.position[2])};
    for (const Dimension& dimension : metadata.schema)
    {
        Octree::AttributeInfo& info = description.attributes.emplace_back();
        info.name = dimension.name;
        info.type = typeName(dimension);
        info.sizeInBytes = dimension.size;
        if (dimension.minimum)
        {
            info.min = {*dimension.minimum};
            info.max = {*dimension.maximum};
        }
    }
    description.attributeMask = layout.attributeMask();
    description.recordMask = layout.recordMask();
    description.storedOrigin = {
        layout.position[0].offset, layout.position[1].offset, layout.position[2].offset};
    description.coordinateSystem = metadata.coordinateSystem;
    description.intensityRange = metadata.intensityRange();
    return description;
}
}  // namespace

EntwineTree::EntwineTree(const Octree::Location& location)
    : mMetadata(readMetadata(*location.files()->openFor(Core::Extent::Whole, location.file()))),
      mLayout(rowLayout(mMetadata)),
      mDescription(describe(mMetadata, mLayout, *location.files())),
      mHierarchy(location.files()),
      mTiles(location.files(), mMetadata)
{
}

std::optional<Octree::NodeInfo> EntwineTree::nodeById(const OctreeNodeId& id, std::stop_token stopToken) const
{
    const std::optional<Hierarchy::Node> node = mHierarchy.find(id, std::move(stopToken));
    if (!node)
    {
        return std::nullopt;
    }
    Octree::NodeInfo info;
    info.id = id;
    info.pointCount = node->pointCount;
    info.childMask = node->childMask;
    return info;
}

std::optional<Octree::ChildSummary> EntwineTree::childSummary(
    const OctreeNodeId& id, std::stop_token stopToken
) const
{
    return mHierarchy.childSummary(id, std::move(stopToken));
}

std::optional<Hierarchy::Node> EntwineTree::existingNode(
    const OctreeNodeId& id, const std::stop_token& stopToken
) const
{
    const std::optional<Hierarchy::Node> node = mHierarchy.find(id, stopToken);
    if (stopToken.stop_requested())
    {
        return std::nullopt;
    }
    if (!node)
    {
        throw Octree::fileError(mHierarchy.name(), "there is no node " + nodeKey(id));
    }
    return node;
}

std::optional<Octree::RowConversion> EntwineTree::conversion(
    unsigned attributes, double unitScale, const std::stop_token& stopToken
) const
{
    Octree::RowConversion conversion{mDescription.position, unitScale, false};
    if (Octree::hasColor(attributes) && mLayout.rgb)
    {
        const std::optional<bool> wide = hasWideColors(stopToken);
        if (!wide)
        {
            return std::nullopt;
        }
        conversion.wideColors = *wide;
    }
    return conversion;
}

bool EntwineTree::getNodePointData(
    const OctreeNodeId& id,
    unsigned attributes,
    double unitScale,
    Octree::NodePointColumns& out,
    std::stop_token stopToken
) const
{
    const std::optional<Hierarchy::Node> node = existingNode(id, stopToken);
    if (!node)
    {
        return false;
    }
    if (node->pointCount == 0)
    {
        out.clear();
        return true;
    }
    const std::optional<Octree::RowConversion> how = conversion(attributes, unitScale, stopToken);
    const auto decode = [&](const Tile& tile)
    { Octree::decodeRows(tile.layout, *how, tile.rows, attributes, out); };
    return how && readTile(id, node->pointCount, attributes, decode, stopToken);
}

bool EntwineTree::passNodePoints(
    const OctreeNodeId& id,
    unsigned attributes,
    double unitScale,
    Octree::PointSink& sink,
    std::stop_token stopToken
) const
{
    const std::optional<Hierarchy::Node> node = existingNode(id, stopToken);
    if (!node)
    {
        return false;
    }
    if (node->pointCount == 0)
    {
        sink.begin(0, 0);
        return true;
    }
    const std::optional<Octree::RowConversion> how = conversion(attributes, unitScale, stopToken);
    const auto decode = [&](const Tile& tile)
    { Octree::decodeRows(tile.layout, *how, tile.rows, attributes, sink); };
    return how && readTile(id, node->pointCount, Octree::kNoAttributes, decode, stopToken);
}

bool EntwineTree::readTile(
    const OctreeNodeId& id,
    std::uint64_t pointCount,
    unsigned attributes,
    const std::function<void(const Tile&)>& decode,
    const std::stop_token& stopToken
) const
{
    const Octree::ScratchLoan scratch;
    const std::optional<Tile> tile = mTiles.read(id, pointCount, attributes, scratch, stopToken);
    if (!tile || stopToken.stop_requested())
    {
        return false;
    }
    try
    {
        decode(*tile);
    }
    catch (const std::runtime_error& error)
    {
        throw Octree::fileError(mTiles.nameOf(id), error.what());
    }
    return true;
}

std::optional<bool> EntwineTree::hasWideColors(const std::stop_token& stopToken) const
{
    const auto isDeclared = [](const Dimension& channel) { return channel.maximum.has_value(); };
    if (std::ranges::all_of(*mLayout.rgb, isDeclared))
    {
        const auto exceedsByte = [](const Dimension& channel) { return channel.maximum > 255.0; };
        return std::ranges::any_of(*mLayout.rgb, exceedsByte);
    }
    // Channels of laszip tiles have 16 bits whatever the schema says.
    const auto isNarrow = [&](const Dimension& channel)
    { return channel.size == 1 && tileCodec(mMetadata.dataType).hasRowsOfSchema(); };
    if (std::ranges::all_of(*mLayout.rgb, isNarrow))
    {
        return false;
    }
    return mWideColors.get([&] { return sampleWideColors(stopToken); });
}

// Looks at the root's points, or at those of the first node with points on the way down from it. The answer
// must not depend on the node that happens to be read first.
std::optional<bool> EntwineTree::sampleWideColors(const std::stop_token& stopToken) const
{
    OctreeNodeId id;
    std::optional<Hierarchy::Node> node = mHierarchy.find(id, stopToken);
    while (node && node->pointCount == 0 && node->childMask != 0)
    {
        id = id.child(static_cast<unsigned>(std::countr_zero(node->childMask)));
        node = mHierarchy.find(id, stopToken);
    }
    if (!node)
    {
        return std::nullopt;
    }
    if (node->pointCount == 0)
    {
        return false;
    }
    const Octree::ScratchLoan scratch;
    const std::optional<Tile> tile =
        mTiles.read(id, node->pointCount, Octree::kNoAttributes, scratch, stopToken);
    return tile ? std::optional(Octree::hasWideColors(tile->layout, tile->rows)) : std::nullopt;
}

bool EntwineTree::expectNode(const OctreeNodeId& id) const
{
    return mHierarchy.expect(id);
}

void EntwineTree::forgetNode(const OctreeNodeId& id) const
{
    mHierarchy.forget(id);
}

void EntwineTree::expectPoints(const OctreeNodeId& id) const noexcept
{
    if (mHierarchy.hasPointsAtHand(id))  // the tile of a node without points is never read
    {
        mTiles.expect(id);
    }
}

void EntwineTree::forgetPoints(const OctreeNodeId& id) const noexcept
{
    mTiles.forget(id);
}
}  // namespace Entwine
