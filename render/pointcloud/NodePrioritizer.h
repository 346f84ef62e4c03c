#pragma once

#include "core/NonCopyable.h"
#include "core/TripleBuffer.h"
#include "math/NBoundingBox.h"
#include "octree/OctreeNodeId.h"
#include "render/Export.h"
#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/Buffer.h"
#include "render/pointcloud/NodeId.h"
#include "render/pointcloud/NodePriority.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <stop_token>
#include <unordered_set>
#include <vector>

namespace Render
{
/// Fills in the vertices of a node.
/// Returns false when a stop was requested or the node could not be loaded; it may throw to tell why.
using VertexSource = std::function<bool(const Octree::OctreeNodeId&, VertexContainer&, std::stop_token)>;

/// Ranks a node by its level and its bounding cube in model coordinates.
using NodeRanking = std::function<NodePriority(std::uint64_t level, const Math::NBoundingBox<float, 3>&)>;

/// The resident octree nodes of all point clouds that share one budget of points.
///
/// Below the budget nodes are appended; at the budget a node gets in by ranking above the least valuable
/// resident one, and the least valuable ones leave until the budget holds again.
///
/// Cost     an admission or an eviction is O(log n) in the resident nodes, a ranking or a publication O(n).
/// Threads  all operations from any thread, one at a time: a mutex is held for each, but not while addNode()
///          fetches vertices, so clouds that share a prioritizer read at the same time.
class RENDER_API NodePrioritizer : private Core::NonCopyable
{
public:
    /// @param totalMaxPointCount  the budget: most points of all resident nodes together
    explicit NodePrioritizer(std::size_t totalMaxPointCount);

    /// Sets the budget and drops the least valuable nodes until it holds.
    void setTotalMaxPointCount(std::size_t totalMaxPointCount);

    /// The budget.
    std::size_t totalMaxPointCount() const;

    /// Number of points of all resident nodes.
    std::size_t totalUsedPointCount() const;

    /// What one cloud has of it.
    struct Share
    {
        std::size_t nodes = 0;   ///< resident ones
        std::size_t points = 0;  ///< of these nodes
    };

    /// Looks at every resident node.
    Share shareOf(std::uint64_t cloudId) const;

    /// True when the node is resident.
    bool contains(const NodeId& nodeId) const;

    /// False when addNode() would refuse a node of so many points once it is fetched.
    bool admits(const NodePriority& priority, std::size_t pointCount);

    /// The same for a node that is not yet to be offered: an estimate that changes nothing, not even the
    /// order of the nodes.
    bool mayAdmitLater(const NodePriority& priority, std::size_t pointCount) const;

    /// By what nodes are refused at the moment: whatever the state, one whose priority is more than
    /// NodePriority::kTolerance below the least and that has as many points as reach the budget.
    struct Bar
    {
        float leastPriority;        ///< no resident node has a lower one
        std::size_t pointCount;     ///< fewest points that reach the budget
        std::uint64_t changeCount;  ///< the same as long as nothing has changed
    };

    /// The present one.
    Bar bar() const;

    /// Counts as the refusal of nodes that were left out because of bar(): from then on the nodes are in the
    /// order in which they leave.
    /// @return false when something has changed since; nothing is done then
    bool confirmRefusals(std::uint64_t changeCount);

    /// Drops every node of every cloud.
    void clear();

    /// Drops every node of one cloud.
    void clear(std::uint64_t cloudId);

    /// Ranks the resident nodes of one cloud anew. Nodes that rank as discard() stay resident but are not
    /// drawn and are the first to leave. A stop request leaves the rest with their old ranks.
    void rerank(std::uint64_t cloudId, const NodeRanking& ranking, std::stop_token stopToken);

    /// Offers one node.
    ///
    /// The vertices are fetched only when the node has a chance to get in, and without the lock: what other
    /// threads do meanwhile counts as done before. A node without points never becomes resident.
    /// @param box       the node's bounding cube, model coordinates
    /// @param resident  set to whether the node is resident afterwards
    /// @return whether the node has become resident by this call
    /// @throws std::runtime_error  "Error loading point data" when the source fails without a stop request,
    ///                             with the source's own exception nested; nothing has changed then
    bool addNode(
        const NodeId& nodeId,
        const Math::NBoundingBox<float, 3>& box,
        NodePriority priority,
        const VertexSource& vertexSource,
        bool& resident,
        std::stop_token stopToken
    );

    /// Builds what a frame draws of one cloud in the back slot and publishes it. No vertex is copied: the
    /// publication shares the nodes' blocks. The new back slot gives up those of an older publication.
    ///
    /// Drawn are the nodes that are not discarded on the unbroken run of levels from the root that have such
    /// nodes. Of more than kMaxDrawnNodes those stay that rank best, each only with its parent.
    /// @param dropDeepestLevel  leaves out the last of these levels
    void updateBuffers(std::uint64_t cloudId, bool dropDeepestLevel, Core::TripleBuffer<Buffer>& buffers);

private:
    struct PrioritizedNode
    {
        Math::NBoundingBox<float, 3> boundingBox;
        NodeId nodeId;
        NodePriority priority;
        std::shared_ptr<const VertexBlock> vertices;
    };

    /// Spreads ids over all buckets; std::hash<NodeId> does not.
    struct IndexHash
    {
        std::size_t operator()(const NodeId& id) const noexcept
        {
            return std::hash<Octree::OctreeNodeId>()(id.octreeNodeId) ^
                   static_cast<std::size_t>(id.cloudId * 0x9e3779b97f4a7c15ULL);
        }
    };

    using Positions = std::vector<std::size_t>;

    bool isResident(const NodeId& nodeId) const;
    bool isRefused(const NodePriority& priority, const std::stop_token& stopToken);
    void makeRoomForOneNode();
    bool makeHeap();
    PrioritizedNode dropTop();
    Positions drawnNodes(std::uint64_t cloudId, bool dropDeepestLevel) const;
    Positions bestWithParents(const Positions& candidates) const;
    void updateNodes(const Positions& drawn, Buffer& buffer) const;

    mutable std::mutex mMutex;  // guards everything below
    std::size_t mTotalMaxPointCount;
    std::size_t mTotalUsedPointCount = 0;
    std::uint64_t mChangeCount = 0;
    float mLeastPriority = std::numeric_limits<float>::max();  // not above that of any node
    std::vector<PrioritizedNode>
        mNodes;  // a heap with the lowest rank on top while mIsHeap, else in any order
    bool mIsHeap = false;
    std::unordered_set<NodeId, IndexHash> mIndex;  // the resident nodes
};
}  // namespace Render
