#include "render/pointcloud/NodePrioritizer.h"

#include "math/Spectrum.h"
#include "render/pointcloud/writeOctreeTexture.h"

#include <algorithm>
#include <array>
#include <exception>
#include <stdexcept>
#include <utility>

namespace Render
{
namespace
{
constexpr std::size_t kInitialBucketCount = 8;
constexpr float kMaxLoadFactor = 1.0F;
constexpr std::size_t kInitialCapacity = 64;  // nodes; a first coarse view

constexpr float kShownBoxShare =
    0.95F;  // of the cube's size, so that the boxes of neighbours do not coincide

constexpr double kColoredPriorityMin = 0.0;       // pixels; bright end of the colour map
constexpr double kColoredPriorityWidth = 1000.0;  // pixels from the bright to the dark end

/// Puts the node with the lowest rank on top of a heap.
constexpr auto kLowestOnTop = [](const auto& a, const auto& b) { return a.priority > b.priority; };

Math::Color boxColor(const NodePriority& priority)
{
    const double share =
        (static_cast<double>(priority.priority()) - kColoredPriorityMin) / kColoredPriorityWidth;
    const float clamped = Math::Boundary::ClampToBorder::apply(static_cast<float>(share));
    return Math::Spectrum::Inferno::color(1.0F - clamped);
}

BoxWithColor shownBox(const Math::NBoundingBox<float, 3>& cube, bool isRoot, const NodePriority& priority)
{
    if (isRoot)
    {
        return {cube.min(), cube.max(), boxColor(priority)};
    }
    const Math::Point<float, 3> center = cube.center();
    BoxWithColor box{center, center, boxColor(priority)};
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const float halfExtent = kShownBoxShare * (cube.size(axis) / 2.0F);
        box.min[axis] -= halfExtent;
        box.max[axis] += halfExtent;
    }
    return box;
}

/// Empties an array and gives it room, without copying the old elements.
template <class T>
void clearAndReserve(std::vector<T>& array, std::size_t size)
{
    array.clear();
    if (array.capacity() < size)
    {
        std::vector<T>().swap(array);  // before, so that old and new storage do not exist side by side
        array.reserve(size);
    }
}

/// @return false when the source failed and a stop was requested
bool fetchVertices(
    const VertexSource& vertexSource,
    const Octree::OctreeNodeId& id,
    VertexContainer& vertices,
    const std::stop_token& stopToken
)
{
    static constexpr const char* kErrorText = "Error loading point data";
    bool fetched = false;
    try
    {
        fetched = vertexSource(id, vertices, stopToken);
    }
    catch (...)
    {
        if (stopToken.stop_requested())
        {
            return false;
        }
        std::throw_with_nested(std::runtime_error(kErrorText));
    }
    if (!fetched && !stopToken.stop_requested())
    {
        throw std::runtime_error(kErrorText);
    }
    return fetched;
}
}  // namespace

NodePrioritizer::NodePrioritizer(std::size_t totalMaxPointCount)
    : mTotalMaxPointCount(totalMaxPointCount), mIndex(kInitialBucketCount)
{
    mIndex.max_load_factor(kMaxLoadFactor);
}

void NodePrioritizer::setTotalMaxPointCount(std::size_t totalMaxPointCount)
{
    const std::scoped_lock lock(mMutex);
    mTotalMaxPointCount = totalMaxPointCount;
    if (mTotalUsedPointCount > mTotalMaxPointCount)
    {
        makeHeap();
        while (mTotalUsedPointCount > mTotalMaxPointCount)
        {
            dropTop();
        }
    }
}

std::size_t NodePrioritizer::totalMaxPointCount() const
{
    const std::scoped_lock lock(mMutex);
    return mTotalMaxPointCount;
}

std::size_t NodePrioritizer::totalUsedPointCount() const
{
    const std::scoped_lock lock(mMutex);
    return mTotalUsedPointCount;
}

bool NodePrioritizer::contains(const NodeId& nodeId) const
{
    const std::scoped_lock lock(mMutex);
    return isResident(nodeId);
}

void NodePrioritizer::clear()
{
    const std::scoped_lock lock(mMutex);
    mIsHeap = false;
    mTotalUsedPointCount = 0;
    mNodes.clear();
    mIndex.clear();
}

void NodePrioritizer::clear(std::size_t cloudId)
{
    const std::scoped_lock lock(mMutex);
    mIsHeap = false;
    const auto firstDropped = std::partition(
        mNodes.begin(), mNodes.end(), [cloudId](const auto& node) { return node.nodeId.cloudId != cloudId; }
    );
    for (auto node = firstDropped; node != mNodes.end(); ++node)
    {
        mTotalUsedPointCount -= node->vertices.size();
    }
    mNodes.erase(firstDropped, mNodes.end());
    std::erase_if(mIndex, [cloudId](const auto& entry) { return entry.first.cloudId == cloudId; });
}

void NodePrioritizer::rerank(std::size_t cloudId, const NodeRanking& ranking, std::stop_token stopToken)
{
    const std::scoped_lock lock(mMutex);
    mIsHeap = false;
    for (PrioritizedNode& node : mNodes)
    {
        if (stopToken.stop_requested())
        {
            return;
        }
        if (node.nodeId.cloudId == cloudId)
        {
            node.priority = ranking(node.nodeId.octreeNodeId.level(), node.boundingBox);
        }
    }
}

bool NodePrioritizer::addNode(
    const NodeId& nodeId,
    const Math::NBoundingBox<float, 3>& box,
    NodePriority priority,
    const VertexSource& vertexSource,
    bool& resident,
    std::stop_token stopToken
)
{
    const std::scoped_lock lock(mMutex);
    resident = isResident(nodeId);
    if (resident)
    {
        return false;
    }

    const auto hasNoChance = [this, &priority, &stopToken]
    { return (makeHeap() && stopToken.stop_requested()) || !ranksAboveTop(priority); };
    if (mTotalUsedPointCount >= mTotalMaxPointCount && hasNoChance())
    {
        return false;
    }

    VertexContainer vertices;
    if (!fetchVertices(vertexSource, nodeId.octreeNodeId, vertices, stopToken))
    {
        return false;
    }
    const std::size_t pointCount = vertices.size();
    if (pointCount == 0)
    {
        return false;
    }

    const bool reachesBudget = mTotalUsedPointCount + pointCount >= mTotalMaxPointCount;
    if (reachesBudget && hasNoChance())
    {
        return false;
    }

    makeRoomForOneNode();
    mIndex.emplace(nodeId, pointCount);
    mNodes.push_back({box, nodeId, priority, std::move(vertices)});  // cannot fail any more
    mTotalUsedPointCount += pointCount;
    resident = true;
    if (!reachesBudget)
    {
        mIsHeap = false;
        return true;
    }

    std::push_heap(mNodes.begin(), mNodes.end(), kLowestOnTop);
    while (mTotalUsedPointCount > mTotalMaxPointCount)
    {
        resident = dropTop() != nodeId && resident;
    }
    return resident;
}

void NodePrioritizer::updateBuffers(
    std::size_t cloudId, bool dropDeepestLevel, Core::TripleBuffer<Buffer>& buffers
)
{
    const std::scoped_lock lock(mMutex);
    Buffer& buffer = buffers.back();
    updateNodes(drawnSet(cloudId, dropDeepestLevel), buffer);
    writeOctreeTexture(buffer.nodes, buffer.octreeTextureData);
    buffers.publish();
}

bool NodePrioritizer::isResident(const NodeId& nodeId) const
{
    // All keys share one bucket, so find() would walk all of them too, and divide by the bucket count at
    // each.
    return std::any_of(
        mIndex.begin(), mIndex.end(), [&nodeId](const auto& entry) { return entry.first == nodeId; }
    );
}

/// Grows the array as push_back() would, ahead of time, so that a lack of memory is met before anything
/// changes.
void NodePrioritizer::makeRoomForOneNode()
{
    if (mNodes.size() == mNodes.capacity())
    {
        mNodes.reserve(std::max(kInitialCapacity, 2 * mNodes.capacity()));
    }
}

/// @return whether the heap had to be built
bool NodePrioritizer::makeHeap()
{
    if (mIsHeap)
    {
        return false;
    }
    std::make_heap(mNodes.begin(), mNodes.end(), kLowestOnTop);
    mIsHeap = true;
    return true;
}

bool NodePrioritizer::ranksAboveTop(const NodePriority& priority) const
{
    return mNodes.empty() || priority > mNodes.front().priority;
}

/// Drops the heap's top and tells which node that was.
NodeId NodePrioritizer::dropTop()
{
    std::pop_heap(mNodes.begin(), mNodes.end(), kLowestOnTop);
    const NodeId dropped = mNodes.back().nodeId;
    mTotalUsedPointCount -= mNodes.back().vertices.size();
    mIndex.erase(dropped);
    mNodes.pop_back();
    return dropped;
}

NodePrioritizer::DrawnSet NodePrioritizer::drawnSet(std::size_t cloudId, bool dropDeepestLevel) const
{
    struct LevelCounts
    {
        std::size_t nodes = 0;
        std::size_t points = 0;
    };

    std::array<LevelCounts, Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL + 1> levels{};
    std::size_t countedNodes = 0;
    for (const PrioritizedNode& node : mNodes)
    {
        if (countedNodes == kMaxDrawnNodes)
        {
            break;
        }
        if (node.nodeId.cloudId == cloudId && node.priority != NodePriority::discard())
        {
            LevelCounts& level = levels[node.nodeId.octreeNodeId.level()];
            ++level.nodes;
            level.points += node.vertices.size();
            ++countedNodes;
        }
    }

    const auto firstEmpty =
        std::find_if(levels.begin(), levels.end(), [](const LevelCounts& level) { return level.nodes == 0; });
    DrawnSet drawn{.cloudId = cloudId, .levelCount = static_cast<std::uint64_t>(firstEmpty - levels.begin())};
    if (dropDeepestLevel)
    {
        drawn.levelCount = std::max<std::uint64_t>(drawn.levelCount, 1) - 1;
    }
    for (std::size_t level = 0; level < drawn.levelCount; ++level)
    {
        drawn.nodeCount += levels[level].nodes;
        drawn.pointCount += levels[level].points;
    }
    return drawn;
}

void NodePrioritizer::updateNodes(const DrawnSet& drawn, Buffer& buffer) const
{
    clearAndReserve(buffer.nodes, drawn.nodeCount);
    clearAndReserve(buffer.boundingBoxes, drawn.nodeCount);
    clearAndReserve(buffer.vertices, drawn.pointCount);

    for (const PrioritizedNode& node : mNodes)
    {
        if (buffer.nodes.size() == drawn.nodeCount)
        {
            break;  // the nodes beyond the texture's capacity have not been counted
        }
        const Octree::OctreeNodeId& id = node.nodeId.octreeNodeId;
        const std::uint64_t level = id.level();
        if (node.nodeId.cloudId != drawn.cloudId || level >= drawn.levelCount ||
            node.priority == NodePriority::discard())
        {
            continue;
        }
        buffer.nodes.push_back(
            {.octreeNodeId = id,
             .index = 0,
             .level = level,
             .firstPoint = buffer.vertices.size(),
             .pointCount = node.vertices.size(),
             .boxMin = node.boundingBox.min()}
        );
        buffer.boundingBoxes.push_back(shownBox(node.boundingBox, level == 0, node.priority));
        const VertexContainer::Vertex* const vertices = node.vertices.data();
        buffer.vertices.insert(buffer.vertices.end(), vertices, vertices + node.vertices.size());
    }

    std::sort(
        buffer.nodes.begin(),
        buffer.nodes.end(),
        [](const NodeRecord& a, const NodeRecord& b) { return a.octreeNodeId < b.octreeNodeId; }
    );
    for (std::size_t i = 0; i < buffer.nodes.size(); ++i)
    {
        buffer.nodes[i].index = i;
    }
}
}  // namespace Render
