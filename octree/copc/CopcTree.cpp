#include "octree/copc/CopcTree.h"

#include "octree/NodeCell.h"
#include "octree/PointSink.h"
#include "octree/ScratchLoan.h"
#include "octree/fileError.h"
#include "octree/las/rowLayout.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Copc
{
namespace
{
using Octree::OctreeNodeId;

/// The file's name without what says that it is a COPC file.
std::string titleOf(std::string_view file)
{
    file.remove_prefix(std::min(file.rfind('/') + 1, file.size()));
    const std::string_view whole = file;
    for (const std::string_view end : {".laz", ".las", ".copc"})
    {
        if (file.ends_with(end))
        {
            file.remove_suffix(end.size());
        }
    }
    return std::string(file.empty() ? whole : file);
}

/// The fields of a record in storage order.
std::vector<Octree::AttributeInfo> attributesOf(const CopcHeader& header)
{
    std::vector<Octree::AttributeInfo> attributes;
    const auto add = [&](const char* name, const char* type, std::uint64_t size)
    {
        Octree::AttributeInfo& info = attributes.emplace_back();
        info.name = name;
        info.type = type;
        info.sizeInBytes = size;
    };
    const auto addRange = [&](double min, double max)
    {
        if (min <= max)
        {
            attributes.back().min = {min};
            attributes.back().max = {max};
        }
    };
    constexpr std::array<const char*, 3> kCoordinates{"X", "Y", "Z"};
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        add(kCoordinates[axis], "int32", 4);
        addRange(header.boundingBox.min()[axis], header.boundingBox.max()[axis]);
    }
    add("Intensity", "uint16", 2);
    add("Returns", "uint8", 1);  // number of the return and how many there are
    add("Flags", "uint8", 1);
    add("Classification", "uint8", 1);
    add("UserData", "uint8", 1);
    add("ScanAngle", "int16", 2);
    add("PointSourceId", "uint16", 2);
    add("GpsTime", "double", 8);
    addRange(header.smallestTime, header.largestTime);
    if (header.las.hasColors)
    {
        add("Red", "uint16", 2);
        add("Green", "uint16", 2);
        add("Blue", "uint16", 2);
    }
    if (header.las.pointFormat == 8)
    {
        add("Infrared", "uint16", 2);
    }
    if (header.las.extraBytes() > 0)
    {
        add("ExtraBytes", "uint8", header.las.extraBytes());
    }
    return attributes;
}

/// The origin that loses least when coordinates are made relative to it: the header's offset, from which stored
/// integers count, or the cube's minimum where that offset lies outside the cube.
Math::Point<double, 3> originOf(const CopcHeader& header)
{
    const Math::NBoundingBox<double, 3>& cube = header.boundingCube;
    Math::Point<double, 3> origin = cube.min();
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const double offset = header.las.offset[axis];
        if (offset >= cube.min()[axis] && offset <= cube.max()[axis])
        {
            origin[axis] = offset;
        }
    }
    return origin;
}

Octree::TreeDescription describe(
    const CopcHeader& header, const Octree::RowLayout& layout, unsigned recordMask, std::string_view file
)
{
    Octree::TreeDescription description;
    description.name = titleOf(file);
    description.encoding = "laszip";
    description.position = originOf(header);
    description.boundingBox = header.boundingBox;
    description.boundingCube = header.boundingCube;
    description.spacing = header.spacing;
    const std::array<double, 3>& scale = header.las.scale;
    description.positionStep = {std::abs(scale[0]), std::abs(scale[1]), std::abs(scale[2])};
    description.attributes = attributesOf(header);
    description.attributeMask = layout.attributeMask();
    description.recordMask = recordMask;
    description.storedOrigin = {header.las.offset[0], header.las.offset[1], header.las.offset[2]};
    description.coordinateSystem = header.coordinateSystem;
    return description;
}

Las::LazHeader withRecordRows(Las::LazHeader header)
{
    header.hasRecordRows = true;
    return header;
}
}  // namespace

// Where the library is a DLL, a program can bind a reference to the constant only when it is defined here.
const std::uint64_t CopcTree::kHierarchyCacheCapacity;

CopcTree::CopcTree(const Octree::Location& location)
    : mFile(location),
      mLayout(Las::rowLayout(mFile.header().las)),
      mRecordHeader(withRecordRows(mFile.header().las)),
      mRecordLayout(Las::rowLayout(mRecordHeader)),
      mDescription(describe(mFile.header(), mLayout, mRecordLayout.recordMask(), location.file())),
      mHierarchy(
          [this](const OctreeNodeId& first, const NodeEntry* link, const std::stop_token& stopToken)
          { return mFile.readPage(first, extentOf(link), stopToken); },
          {[this](const OctreeNodeId&, const NodeEntry* link) { return mFile.expectPage(extentOf(link)); },
           [this](const OctreeNodeId&, const NodeEntry* link) { mFile.forgetPage(extentOf(link)); }},
          kHierarchyCacheCapacity
      )
{
    sampleRoot();
}

/// Where a page lies that is linked so, the first one without a link.
Extent CopcTree::extentOf(const NodeEntry* link) const noexcept
{
    return link != nullptr ? Extent{link->offset, link->size} : mFile.header().rootPage;
}

// Looks at the root's points, or at those of the first node with points on the way down from it: the file has
// no ranges, and the answer must not depend on the node that happens to be read first.
void CopcTree::sampleRoot()
{
    OctreeNodeId id;
    std::optional<Hierarchy::Node> node = mHierarchy.find(id, {});
    while (node && node->entry.count == 0 && node->childMask != 0)
    {
        id = id.child(static_cast<unsigned>(std::countr_zero(node->childMask)));
        node = mHierarchy.find(id, {});
    }
    if (!node || node->entry.count == 0)
    {
        return;
    }
    const auto look = [this](std::span<const std::byte> rows)
    {
        mWideColors = Octree::hasWideColors(mLayout, rows);
        Octree::NodePointColumns columns;
        Octree::decodeRows(mLayout, {}, rows, Octree::kIntensityAttribute, columns);
        const auto [min, max] = std::ranges::minmax(columns.intensities);
        mDescription.intensityRange = {min, max};
    };
    readRows(node->entry, mFile.header().las, look, {});
}

Octree::RowConversion CopcTree::conversion(double unitScale) const noexcept
{
    return {mDescription.position, unitScale, mWideColors};
}

std::optional<Octree::NodeInfo> CopcTree::nodeById(const OctreeNodeId& id, std::stop_token stopToken) const
{
    const std::optional<Hierarchy::Node> node = mHierarchy.find(id, stopToken);
    if (!node)
    {
        return std::nullopt;
    }
    Octree::NodeInfo info;
    info.id = id;
    info.pointCount = static_cast<std::uint64_t>(node->entry.count);
    info.childMask = node->childMask;
    return info;
}

std::optional<Octree::ChildSummary> CopcTree::childSummary(const OctreeNodeId& id, std::stop_token stopToken)
    const
{
    return mHierarchy.childSummary(id, stopToken);
}

std::optional<NodeEntry> CopcTree::existingNode(const OctreeNodeId& id, const std::stop_token& stopToken)
    const
{
    const std::optional<Hierarchy::Node> node = mHierarchy.find(id, stopToken);
    if (stopToken.stop_requested())
    {
        return std::nullopt;
    }
    if (!node)
    {
        throw Octree::fileError(mFile.name(), "there is no node " + Octree::cellName(id));
    }
    return node->entry;
}

bool CopcTree::getNodePointData(
    const OctreeNodeId& id,
    unsigned attributes,
    double unitScale,
    Octree::NodePointColumns& out,
    std::stop_token stopToken
) const
{
    const std::optional<NodeEntry> node = existingNode(id, stopToken);
    if (!node)
    {
        return false;
    }
    if (node->count == 0)
    {
        out.clear();
        return true;
    }
    const bool hasRecords = (attributes & Octree::kRecordAttributes) != 0;
    const auto decode = [&](std::span<const std::byte> rows)
    {
        const Octree::RowLayout& layout = hasRecords ? mRecordLayout : mLayout;
        Octree::decodeRows(layout, conversion(unitScale), rows, attributes, out);
    };
    return readRows(*node, hasRecords ? mRecordHeader : mFile.header().las, decode, stopToken);
}

bool CopcTree::passNodePoints(
    const OctreeNodeId& id,
    unsigned attributes,
    double unitScale,
    Octree::PointSink& sink,
    std::stop_token stopToken
) const
{
    const std::optional<NodeEntry> node = existingNode(id, stopToken);
    if (!node)
    {
        return false;
    }
    if (node->count == 0)
    {
        sink.begin(0, 0);
        return true;
    }
    const auto decode = [&](std::span<const std::byte> rows)
    { Octree::decodeRows(mLayout, conversion(unitScale), rows, attributes, sink); };
    return readRows(*node, mFile.header().las, decode, stopToken);
}

bool CopcTree::readRows(
    const NodeEntry& entry,
    const Las::LazHeader& las,
    const std::function<void(std::span<const std::byte>)>& decode,
    const std::stop_token& stopToken
) const
{
    const Octree::ScratchLoan scratch;
    if (!mFile.readChunk(entry, las, scratch, stopToken) || stopToken.stop_requested())
    {
        return false;
    }
    try
    {
        decode(scratch.unpacked);
    }
    catch (const std::runtime_error& error)
    {
        throw Octree::fileError(mFile.name(), "node " + Octree::cellName(entry.id) + ": " + error.what());
    }
    return true;
}

bool CopcTree::expectNode(const OctreeNodeId& id) const
{
    return mHierarchy.expect(id);
}

void CopcTree::forgetNode(const OctreeNodeId& id) const
{
    mHierarchy.forget(id);
}

void CopcTree::expectPoints(const OctreeNodeId& id) const noexcept
{
    const std::optional<Hierarchy::Node> node = mHierarchy.findAtHand(id);
    if (node && node->entry.count > 0)
    {
        mFile.expectChunk(node->entry);
    }
}

void CopcTree::forgetPoints(const OctreeNodeId& id) const noexcept
{
    const std::optional<Hierarchy::Node> node = mHierarchy.findAtHand(id);
    if (node && node->entry.count > 0)
    {
        mFile.forgetChunk(node->entry);
    }
}
}  // namespace Copc
