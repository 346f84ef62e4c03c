#include "octree/potree/PoTreeTree.h"

#include "core/brotliDecode.h"
#include "core/errorReason.h"
#include "octree/PointSink.h"
#include "octree/ScratchLoan.h"
#include "octree/fileError.h"
#include "octree/kMaxPointsPerNode.h"
#include "octree/potree/decodePoints.h"
#include "octree/potree/parseHierarchyChunk.h"
#include "octree/unpackedSize.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

namespace PoTree
{
namespace
{
using Octree::NodeVisibilityType;
using Octree::OctreeNodeId;

constexpr std::size_t kExpectedNodes = 4000;  // what a view of a large cloud touches

// Record and data may disagree on the count in a damaged file; the data are believed as far as this. In files
// that are whole they agree.
constexpr std::uint64_t kUnpackedSlack = 64U << 10U;

// What a stream of bytes that do not compress is longer than they.
constexpr std::uint64_t kStoredSlack = 64U << 10U;

constexpr std::uint8_t kAllVisibleFlag = 1;
constexpr std::uint8_t kAllHiddenFlag = 2;

std::uint64_t storedPointCount(const Node& node) noexcept
{
    return node.byteSize > 0 ? node.pointCount : 0;
}

Octree::TreeDescription describe(
    const Metadata& metadata, const PointLayout& layout, const Core::ByteFolder& files
)
{
    Octree::TreeDescription description;
    description.name = !metadata.name.empty() ? metadata.name : files.title();
    description.encoding = metadata.encoding == Encoding::Brotli ? "BROTLI" : "DEFAULT";
    description.position = metadata.referencePosition();
    description.boundingBox = metadata.tightBoundingBox();
    description.boundingCube = metadata.boundingBox;
    description.spacing = metadata.spacing;
    description.positionStep = metadata.scale;
    for (const Attribute& attribute : metadata.attributes)
    {
        description.attributes.push_back(
            {attribute.name, attribute.type, attribute.size, attribute.min, attribute.max}
        );
    }
    description.attributeMask = layout.attributeMask();
    description.recordMask = layout.recordMask();
    description.storedOrigin = metadata.offset;
    description.coordinateSystem = metadata.coordinateSystem;
    description.intensityRange = metadata.intensityRange();
    return description;
}

/// Opens the metadata and has the other files, which will be opened next, on their way meanwhile.
std::unique_ptr<const Core::ByteSource> openExpectingOthers(const Octree::Location& location)
{
    const Core::ByteFolder& files = *location.files();
    for (const char* const file : FileLoader::kFiles)
    {
        files.expect(Core::Extent::Parts, file);
    }
    return files.openFor(Core::Extent::Whole, location.file());
}
}  // namespace

// Where the library is a DLL, a program can bind a reference to the constant only when it is defined here.
const std::uint64_t PoTreeTree::kHierarchyCacheCapacity;

PoTreeTree::PoTreeTree(const Octree::Location& location)
    : mMetadata(readMetadata(*openExpectingOthers(location))),
      mLayout(makePointLayout(mMetadata, location.fileName())),
      mDescription(describe(mMetadata, mLayout, *location.files())),
      mLoader(location.files()),
      mNodes(kHierarchyCacheCapacity, kExpectedNodes)
{
}

std::optional<Octree::NodeInfo> PoTreeTree::nodeById(const OctreeNodeId& id, std::stop_token stopToken) const
{
    const std::shared_ptr<const Node> node = findNode(id, std::move(stopToken));
    if (!node)
    {
        return std::nullopt;
    }
    Octree::NodeInfo info;
    info.id = id;
    info.pointCount = storedPointCount(*node);
    info.childMask = id.level() < OctreeNodeId::MAX_REPRESENTABLE_LEVEL ? node->childMask : 0U;
    if (mLayout.visibility)
    {
        info.visibility = node->flags == kAllVisibleFlag  ? NodeVisibilityType::Visible
                          : node->flags == kAllHiddenFlag ? NodeVisibilityType::Hidden
                                                          : NodeVisibilityType::PerPoint;
    }
    return info;
}

std::optional<Octree::ChildSummary> PoTreeTree::childSummary(
    const OctreeNodeId& id, std::stop_token stopToken
) const
{
    const std::shared_ptr<const Node> node = findNode(id, stopToken);
    if (!node)
    {
        return std::nullopt;
    }
    Octree::ChildSummary summary;
    summary.mask = id.level() < OctreeNodeId::MAX_REPRESENTABLE_LEVEL ? node->childMask : 0U;
    for (const OctreeNodeId& childId : Octree::OctreeChildNodeIdRange(id, summary.mask))
    {
        const Node* child = node->children[childId.childIndex()].get();
        std::shared_ptr<const Node> ofOtherChunk;
        if (child == nullptr || child->type == NodeType::Proxy)
        {
            ofOtherChunk = findNode(childId, stopToken);
            child = ofOtherChunk.get();
        }
        if (child == nullptr)
        {
            return std::nullopt;
        }
        summary.fewestPoints = std::min(summary.fewestPoints, storedPointCount(*child));
    }
    return summary;
}

std::shared_ptr<const Node> PoTreeTree::findNode(const OctreeNodeId& id, std::stop_token stopToken) const
{
    return cachedNode(id, std::move(stopToken));
}

std::shared_ptr<Node> PoTreeTree::cachedNode(const OctreeNodeId& id, std::stop_token stopToken) const
{
    const auto load = [&](std::shared_ptr<Node>& node, std::stop_token token)
    {
        node = loadNode(id, std::move(token));
        return node != nullptr;
    };
    std::shared_ptr<Node> node;
    return mNodes.getOrLoad(id, node, load, std::move(stopToken)) ? node : nullptr;
}

// Goes up the parent chain as far as the cache does not know it, at most 21 levels.
std::shared_ptr<Node> PoTreeTree::loadNode(const OctreeNodeId& id, std::stop_token stopToken) const
{
    if (id.isRoot())
    {
        return loadChunk(id, mMetadata.boundingBox, 0, mMetadata.firstChunkSize, std::move(stopToken));
    }
    const std::shared_ptr<Node> parent = cachedNode(id.parent(), stopToken);
    if (!parent || ((parent->childMask >> id.childIndex()) & 1U) == 0)
    {
        return nullptr;
    }
    const std::shared_ptr<Node>& child = parent->children[id.childIndex()];
    if (!child)
    {
        throw Octree::fileError(
            mLoader.hierarchyFile(),
            "the chunk that announces node " + id.name() +
                " ends before its record, expected one record per node"
        );
    }
    if (child->type != NodeType::Proxy)
    {
        return child;
    }
    return loadChunk(id, child->boundingBox, child->byteOffset, child->byteSize, std::move(stopToken));
}

std::shared_ptr<Node> PoTreeTree::loadChunk(
    const OctreeNodeId& first,
    const Math::NBoundingBox<double, 3>& box,
    std::uint64_t offset,
    std::uint64_t size,
    std::stop_token stopToken
) const
{
    if (size < kHierarchyRecordSize)
    {
        throw Octree::fileError(
            mLoader.hierarchyFile(),
            "the chunk of node " + first.name() + " has " + std::to_string(size) +
                " bytes, expected at least " + std::to_string(kHierarchyRecordSize)
        );
    }
    mLoader.checkHierarchyChunk(offset, size);
    claimChunk(first, offset, size);
    std::vector<std::byte> bytes;
    if (!mLoader.readHierarchyChunk(offset, size, bytes, std::move(stopToken)))
    {
        return nullptr;
    }
    std::shared_ptr<Node> node = parseHierarchyChunk(bytes, first, box, mLoader.hierarchyFile());
    if (node->type == NodeType::Proxy)
    {
        throw Octree::fileError(
            mLoader.hierarchyFile(),
            "the chunk of node " + first.name() + " begins with a proxy, expected the node's own record"
        );
    }
    return node;
}

void PoTreeTree::claimChunk(const OctreeNodeId& owner, std::uint64_t offset, std::uint64_t size) const
{
    const std::uint64_t end = offset + size;  // within the file, so this does not overflow
    const std::scoped_lock lock(mClaimsMutex);
    const auto next = mClaims.upper_bound(offset);
    const auto fail = [&](const OctreeNodeId& other)
    {
        throw Octree::fileError(
            mLoader.hierarchyFile(),
            "the chunk of node " + owner.name() + " at bytes " + std::to_string(offset) + " to " +
                std::to_string(end) + " overlaps that of node " + other.name() +
                ", expected each node to have its own"
        );
    };
    if (next != mClaims.begin())
    {
        const auto& [otherOffset, other] = *std::prev(next);
        if (otherOffset == offset && other.end == end && other.owner == owner)
        {
            return;
        }
        if (other.end > offset)
        {
            fail(other.owner);
        }
    }
    if (next != mClaims.end() && next->first < end)
    {
        fail(next->second.owner);
    }
    mClaims.emplace(offset, ChunkClaim{end, owner});
}

std::uint64_t PoTreeTree::largestUnpackedSize(const Node& node) const
{
    if (node.pointCount > Octree::kMaxPointsPerNode)
    {
        throw Octree::fileError(
            mLoader.hierarchyFile(),
            "node " + node.id.name() + " has " + std::to_string(node.pointCount) +
                " points, expected at most " + std::to_string(Octree::kMaxPointsPerNode)
        );
    }
    const std::uint64_t size = node.pointCount * mLayout.bytesPerPoint;  // 32 bits times at most 4 million
    if (size > Octree::kMaxUnpackedSize)
    {
        throw Octree::fileError(
            mLoader.hierarchyFile(),
            "node " + node.id.name() + " has " + std::to_string(node.pointCount) + " points of " +
                std::to_string(mLayout.bytesPerPoint) + " bytes, expected at most " +
                std::to_string(Octree::kMaxUnpackedSize) + " bytes"
        );
    }
    return std::min(size + kUnpackedSlack, Octree::kMaxPointsPerNode * mLayout.bytesPerPoint);
}

std::optional<std::span<const std::byte>> PoTreeTree::unpacked(
    const Node& node,
    std::uint64_t largestSize,
    const Octree::ScratchLoan& scratch,
    const std::stop_token& stopToken
) const
{
    std::span<const std::byte> bytes = scratch.stored;
    if (mMetadata.encoding == Encoding::Brotli)
    {
        const auto limit =
            static_cast<std::size_t>(std::min(largestSize, Octree::largestUnpackedSize(bytes.size())));
        scratch.reserveUnpacked(limit);
        try
        {
            if (!Core::brotliDecode(bytes, scratch.unpacked, limit, stopToken))
            {
                return std::nullopt;
            }
        }
        catch (const std::runtime_error& error)
        {
            throw Octree::fileError(
                mLoader.octreeFile(), "node " + node.id.name() + ": " + Core::errorReason(error.what())
            );
        }
        bytes = scratch.unpacked;
    }
    if (bytes.size() % mLayout.bytesPerPoint != 0)
    {
        throw Octree::fileError(
            mLoader.octreeFile(),
            "node " + node.id.name() + " has " + std::to_string(bytes.size()) +
                " bytes, expected a multiple of " + std::to_string(mLayout.bytesPerPoint) + " bytes a point"
        );
    }
    return bytes;
}

/// Null when a stop was requested.
std::shared_ptr<const Node> PoTreeTree::existingNode(const OctreeNodeId& id, const std::stop_token& stopToken)
    const
{
    std::shared_ptr<const Node> node = findNode(id, stopToken);
    if (stopToken.stop_requested())
    {
        return nullptr;
    }
    if (!node)
    {
        throw Octree::fileError(mLoader.hierarchyFile(), "there is no node " + id.name());
    }
    return node;
}

PointConversion PoTreeTree::conversion(double unitScale) const
{
    // Nothing is added where stored integers count from the octree's position, so nothing is rounded then.
    const Math::Point<double, 3>& origin = mDescription.position;
    const Math::Point<double, 3> shift{
        mMetadata.offset.x - origin.x, mMetadata.offset.y - origin.y, mMetadata.offset.z - origin.z};
    return {mMetadata.scale, shift, unitScale, mMetadata.hasWideColors()};
}

/// The bytes of a node that has points; nothing when a stop was requested.
std::optional<std::span<const std::byte>> PoTreeTree::readUnpacked(
    const Node& node, const Octree::ScratchLoan& scratch, const std::stop_token& stopToken
) const
{
    const std::uint64_t largestSize = largestUnpackedSize(node);
    const std::uint64_t largestStored =
        mMetadata.encoding == Encoding::Brotli ? largestSize + kStoredSlack : largestSize;
    if (!mLoader.readOctreeChunk(node, largestStored, scratch.stored, stopToken) ||
        stopToken.stop_requested())
    {
        return std::nullopt;
    }
    return unpacked(node, largestSize, scratch, stopToken);
}

/// True when the node's points have a visibility and nothing else, and the same one all of them.
bool PoTreeTree::isKnownFromRecord(const Node& node) const noexcept
{
    return mLayout.visibility && mMetadata.attributes.size() == 1 &&
           (node.flags == kAllVisibleFlag || node.flags == kAllHiddenFlag);
}

bool PoTreeTree::getNodePointData(
    const OctreeNodeId& id,
    unsigned attributes,
    double unitScale,
    Octree::NodePointColumns& out,
    std::stop_token stopToken
) const
{
    const std::shared_ptr<const Node> node = existingNode(id, stopToken);
    if (!node)
    {
        return false;
    }
    if (node->pointCount == 0 || node->byteSize == 0)
    {
        out.clear();
        return true;
    }
    if (Octree::hasVisibility(attributes) && isKnownFromRecord(*node))
    {
        const std::size_t count = out.pointCount;
        out.clear();
        out.pointCount = count;
        out.visibilities.assign(count, node->flags == kAllVisibleFlag ? std::uint8_t{0} : std::uint8_t{1});
        return true;
    }

    const Octree::ScratchLoan scratch;
    const std::optional<std::span<const std::byte>> bytes = readUnpacked(*node, scratch, stopToken);
    if (!bytes)
    {
        return false;
    }
    decodePoints(mLayout, conversion(unitScale), *bytes, attributes, out);
    return true;
}

bool PoTreeTree::passNodePoints(
    const OctreeNodeId& id,
    unsigned attributes,
    double unitScale,
    Octree::PointSink& sink,
    std::stop_token stopToken
) const
{
    const std::shared_ptr<const Node> node = existingNode(id, stopToken);
    if (!node)
    {
        return false;
    }
    if (node->pointCount == 0 || node->byteSize == 0)
    {
        sink.begin(0, 0);
        return true;
    }
    const Octree::ScratchLoan scratch;
    const std::optional<std::span<const std::byte>> bytes = readUnpacked(*node, scratch, stopToken);
    if (!bytes)
    {
        return false;
    }
    decodePoints(mLayout, conversion(unitScale), *bytes, attributes, sink);
    return true;
}

/// Null when it is not in the cache.
std::shared_ptr<const Node> PoTreeTree::nodeAtHand(const OctreeNodeId& id) const noexcept
{
    try
    {
        return mNodes.contains(id) ? findNode(id, {}) : nullptr;
    }
    catch (const std::exception&)
    {
        return nullptr;  // whoever reads the node will meet the failure
    }
}

/// The chunk that a child's record stands in, where that is another than its parent's.
std::optional<PoTreeTree::ChunkPlace> PoTreeTree::chunkOf(const OctreeNodeId& child) const
{
    if (child.isRoot())
    {
        return ChunkPlace{0, mMetadata.firstChunkSize};
    }
    const std::shared_ptr<const Node> parent = cachedNode(child.parent(), {});
    const Node* const link = parent ? parent->children[child.childIndex()].get() : nullptr;
    return link != nullptr && link->type == NodeType::Proxy
               ? std::optional(ChunkPlace{link->byteOffset, link->byteSize})
               : std::nullopt;
}

bool PoTreeTree::expectNode(const OctreeNodeId& id) const
{
    if (mNodes.contains(id))
    {
        return true;
    }
    if (!id.isRoot() && !expectNode(id.parent()))
    {
        return false;
    }
    const std::optional<ChunkPlace> chunk = chunkOf(id);
    if (chunk && !mLoader.expectHierarchyChunk(chunk->offset, chunk->size))
    {
        return false;
    }
    cachedNode(id, {});
    return true;
}

void PoTreeTree::forgetNode(const OctreeNodeId& id) const
{
    if (mNodes.contains(id))
    {
        return;
    }
    if (!id.isRoot() && !mNodes.contains(id.parent()))
    {
        forgetNode(id.parent());
    }
    else if (const std::optional<ChunkPlace> chunk = chunkOf(id))
    {
        mLoader.forgetHierarchyChunk(chunk->offset, chunk->size);
    }
}

void PoTreeTree::expectPoints(const OctreeNodeId& id) const noexcept
{
    if (const std::shared_ptr<const Node> node = nodeAtHand(id); node && !isKnownFromRecord(*node))
    {
        mLoader.expectOctreeChunk(*node);
    }
}

void PoTreeTree::forgetPoints(const OctreeNodeId& id) const noexcept
{
    if (const std::shared_ptr<const Node> node = nodeAtHand(id))
    {
        mLoader.forgetOctreeChunk(*node);
    }
}
}  // namespace PoTree
