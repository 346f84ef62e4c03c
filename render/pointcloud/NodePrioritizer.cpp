#include "render/pointcloud/NodePrioritizer.h"

#include "math/Spectrum.h"
#include "render/pointcloud/writeOctreeTexture.h"

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <utility>

namespace Render
{
namespace
{
constexpr std::size_t kInitialCapacity = 64;  // nodes; a first coarse view

constexpr float kShownBoxShare =
    0.95F;  // of the cube's size, so that the boxes of neighbours do not coincide

constexpr double kColoredPriorityMin = 0.0;       // pixels; bright end of the colour map
constexpr double kColoredPriorityWidth = 1000.0;  // pixels from the bright to the dark end

/// Puts the node with the lowest rank on top of a heap.
constexpr auto kLowestOnTop = [](const auto& a, const auto& b) { return a.priority > b.priority; };

/// What is not above either, also where a priority is not a number.
float lesser(float least, const NodePriority& priority)
{
    return priority.priority() >= least  ? least
           : priority.priority() < least ? priority.priority()
                                         : -std::numeric_limits<float>::infinity();
}

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

NodePrioritizer::NodePrioritizer(std::size_t totalMaxPointCount) : mTotalMaxPointCount(totalMaxPointCount) {}

void NodePrioritizer::setTotalMaxPointCount(std::size_t totalMaxPointCount)
{
    std::vector<PrioritizedNode> dropped;  // outlives the lock: giving memory back takes long
    const std::scoped_lock lock(mMutex);
    mTotalMaxPointCount = totalMaxPointCount;
    ++mChangeCount;
    if (mTotalUsedPointCount > mTotalMaxPointCount)
    {
        makeHeap();
        while (mTotalUsedPointCount > mTotalMaxPointCount)
        {
            dropped.push_back(dropTop());
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

NodePrioritizer::Share NodePrioritizer::shareOf(std::uint64_t cloudId) const
{
    const std::scoped_lock lock(mMutex);
    Share share;
    for (const PrioritizedNode& node : mNodes)
    {
        if (node.nodeId.cloudId == cloudId)
        {
            ++share.nodes;
            share.points += node.vertices->size();
        }
    }
    return share;
}

bool NodePrioritizer::contains(const NodeId& nodeId) const
{
    const std::scoped_lock lock(mMutex);
    return isResident(nodeId);
}

bool NodePrioritizer::admits(const NodePriority& priority, std::size_t pointCount)
{
    const std::scoped_lock lock(mMutex);
    return mTotalUsedPointCount + pointCount < mTotalMaxPointCount || !isRefused(priority, {});
}

bool NodePrioritizer::mayAdmitLater(const NodePriority& priority, std::size_t pointCount) const
{
    const std::scoped_lock lock(mMutex);
    if (mTotalUsedPointCount + pointCount < mTotalMaxPointCount || mNodes.empty())
    {
        return true;
    }
    return mIsHeap ? priority > mNodes.front().priority
                   : std::any_of(
                         mNodes.begin(),
                         mNodes.end(),
                         [&priority](const PrioritizedNode& node) { return priority > node.priority; }
                     );
}

NodePrioritizer::Bar NodePrioritizer::bar() const
{
    const std::scoped_lock lock(mMutex);
    return {
        mNodes.empty() ? -std::numeric_limits<float>::infinity() : mLeastPriority,  // the first node gets in
        mTotalMaxPointCount - std::min(mTotalUsedPointCount, mTotalMaxPointCount),
        mChangeCount};
}

bool NodePrioritizer::confirmRefusals(std::uint64_t changeCount)
{
    const std::scoped_lock lock(mMutex);
    if (mChangeCount != changeCount)
    {
        return false;
    }
    makeHeap();
    return true;
}

void NodePrioritizer::clear()
{
    std::vector<PrioritizedNode> dropped;  // outlives the lock
    const std::scoped_lock lock(mMutex);
    ++mChangeCount;
    mIsHeap = false;
    mTotalUsedPointCount = 0;
    mNodes.swap(dropped);
    mIndex.clear();
}

void NodePrioritizer::clear(std::uint64_t cloudId)
{
    std::vector<PrioritizedNode> dropped;  // outlives the lock
    const std::scoped_lock lock(mMutex);
    ++mChangeCount;
    mIsHeap = false;
    const auto firstDropped = std::partition(
        mNodes.begin(), mNodes.end(), [cloudId](const auto& node) { return node.nodeId.cloudId != cloudId; }
    );
    dropped.assign(std::move_iterator(firstDropped), std::move_iterator(mNodes.end()));
    mNodes.erase(firstDropped, mNodes.end());
    for (const PrioritizedNode& node : dropped)
    {
        mTotalUsedPointCount -= node.vertices->size();
        mIndex.erase(node.nodeId);
    }
}

void NodePrioritizer::rerank(std::uint64_t cloudId, const NodeRanking& ranking, std::stop_token stopToken)
{
    const std::scoped_lock lock(mMutex);
    ++mChangeCount;
    mIsHeap = false;
    mLeastPriority = -std::numeric_limits<float>::infinity();  // should the walk end early
    float least = std::numeric_limits<float>::max();
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
        least = lesser(least, node.priority);
    }
    mLeastPriority = least;
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
    {
        const std::scoped_lock lock(mMutex);
        resident = isResident(nodeId);
        if (resident || (mTotalUsedPointCount >= mTotalMaxPointCount && isRefused(priority, stopToken)))
        {
            return false;
        }
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

    std::vector<PrioritizedNode> dropped;  // outlives the lock: giving memory back takes long
    const std::scoped_lock lock(mMutex);
    resident = isResident(nodeId);  // another thread may have added it meanwhile
    if (resident)
    {
        return false;
    }
    const bool reachesBudget = mTotalUsedPointCount + pointCount >= mTotalMaxPointCount;
    if (reachesBudget && isRefused(priority, stopToken))
    {
        return false;
    }

    std::shared_ptr<const VertexBlock> block = vertices.share();
    makeRoomForOneNode();
    mIndex.insert(nodeId);
    mNodes.push_back({box, nodeId, priority, std::move(block)});  // cannot fail any more
    ++mChangeCount;
    mLeastPriority = lesser(mLeastPriority, priority);
    mTotalUsedPointCount += pointCount;
    resident = true;
    if (mIsHeap)
    {
        std::push_heap(mNodes.begin(), mNodes.end(), kLowestOnTop);
    }
    while (mTotalUsedPointCount > mTotalMaxPointCount)
    {
        dropped.push_back(dropTop());
        resident = dropped.back().nodeId != nodeId && resident;
    }
    return resident;
}

void NodePrioritizer::updateBuffers(
    std::uint64_t cloudId, bool dropDeepestLevel, Core::TripleBuffer<Buffer>& buffers
)
{
    PublishedVertices outdated;  // outlives the lock: it may hold the last reference to what has left
    const std::scoped_lock lock(mMutex);
    Buffer& buffer = buffers.back();
    updateNodes(drawnNodes(cloudId, dropDeepestLevel), buffer);
    writeOctreeTexture(buffer.nodes, buffer.octreeTextureData);
    buffers.publish();
    std::swap(outdated, buffers.back().vertices);
}

bool NodePrioritizer::isResident(const NodeId& nodeId) const
{
    return mIndex.contains(nodeId);
}

/// True when, at the budget, a node of that rank does not get in.
bool NodePrioritizer::isRefused(const NodePriority& priority, const std::stop_token& stopToken)
{
    if (makeHeap() && stopToken.stop_requested())
    {
        return true;
    }
    return !mNodes.empty() && !(priority > mNodes.front().priority);
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

/// Takes the heap's top out.
NodePrioritizer::PrioritizedNode NodePrioritizer::dropTop()
{
    std::pop_heap(mNodes.begin(), mNodes.end(), kLowestOnTop);
    PrioritizedNode dropped = std::move(mNodes.back());
    mNodes.pop_back();
    mTotalUsedPointCount -= dropped.vertices->size();
    mIndex.erase(dropped.nodeId);
    return dropped;
}

/// Where the nodes lie that a frame draws of one cloud, ascending.
NodePrioritizer::Positions NodePrioritizer::drawnNodes(std::uint64_t cloudId, bool dropDeepestLevel) const
{
    Positions drawn;
    for (std::size_t i = 0; i < mNodes.size(); ++i)
    {
        if (mNodes[i].nodeId.cloudId == cloudId && mNodes[i].priority != NodePriority::discard())
        {
            drawn.push_back(i);
        }
    }
    if (drawn.size() > kMaxDrawnNodes)
    {
        drawn = bestWithParents(drawn);
    }

    const auto levelOf = [this](std::size_t i) { return mNodes[i].nodeId.octreeNodeId.level(); };
    std::array<bool, Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL + 1> hasNodes{};
    for (const std::size_t i : drawn)
    {
        hasNodes[levelOf(i)] = true;
    }
    auto levelCount =
        static_cast<std::uint64_t>(std::find(hasNodes.begin(), hasNodes.end(), false) - hasNodes.begin());
    if (dropDeepestLevel)
    {
        levelCount = std::max<std::uint64_t>(levelCount, 1) - 1;
    }
    std::erase_if(drawn, [&](std::size_t i) { return levelOf(i) >= levelCount; });
    return drawn;
}

/// The kMaxDrawnNodes best of these nodes, walked from the root: the drawn tree has no holes.
NodePrioritizer::Positions NodePrioritizer::bestWithParents(const Positions& candidates) const
{
    Positions byId = candidates;
    std::sort(
        byId.begin(),
        byId.end(),
        [this](std::size_t a, std::size_t b)
        { return mNodes[a].nodeId.octreeNodeId < mNodes[b].nodeId.octreeNodeId; }
    );
    const auto firstNotBefore = [&](std::uint64_t code)
    {
        return std::partition_point(
            byId.begin(),
            byId.end(),
            [this, code](std::size_t i) { return mNodes[i].nodeId.octreeNodeId.code() < code; }
        );
    };
    const auto isWorse = [this](std::size_t a, std::size_t b)
    {
        const PrioritizedNode& left = mNodes[a];
        const PrioritizedNode& right = mNodes[b];
        return left.priority < right.priority ||
               (!(right.priority < left.priority) && left.nodeId.octreeNodeId > right.nodeId.octreeNodeId);
    };

    Positions drawn;
    Positions open;
    const bool hasRoot = mNodes[byId.front()].nodeId.octreeNodeId.isRoot();
    if (hasRoot)
    {
        open.push_back(byId.front());
    }
    while (!open.empty() && drawn.size() < kMaxDrawnNodes)
    {
        std::pop_heap(open.begin(), open.end(), isWorse);
        const std::size_t best = open.back();
        open.pop_back();
        drawn.push_back(best);
        const Octree::OctreeNodeId& id = mNodes[best].nodeId.octreeNodeId;
        if (id.level() == Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL)
        {
            continue;
        }
        const std::uint64_t lastChild = id.code() << 3U | 7U;
        for (auto child = firstNotBefore(id.code() << 3U);
             child != byId.end() && mNodes[*child].nodeId.octreeNodeId.code() <= lastChild;
             ++child)
        {
            open.push_back(*child);
            std::push_heap(open.begin(), open.end(), isWorse);
        }
    }
    std::sort(drawn.begin(), drawn.end());
    return drawn;
}

void NodePrioritizer::updateNodes(const Positions& drawn, Buffer& buffer) const
{
    buffer.nodes.clear();
    buffer.nodes.reserve(drawn.size());
    buffer.boundingBoxes.clear();
    buffer.boundingBoxes.reserve(drawn.size());
    buffer.vertices.clear();
    buffer.vertices.reservePieces(drawn.size());

    for (const std::size_t i : drawn)
    {
        const PrioritizedNode& node = mNodes[i];
        const Octree::OctreeNodeId& id = node.nodeId.octreeNodeId;
        const std::uint64_t level = id.level();
        buffer.nodes.push_back(
            {.octreeNodeId = id,
             .index = 0,
             .level = level,
             .firstPoint = buffer.vertices.size(),
             .pointCount = node.vertices->size(),
             .boxMin = node.boundingBox.min()}
        );
        buffer.boundingBoxes.push_back(shownBox(node.boundingBox, level == 0, node.priority));
        buffer.vertices.append(node.vertices);
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
