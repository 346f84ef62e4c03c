#pragma once

#include "core/LruCache.h"
#include "core/ReadAhead.h"
#include "core/SharedResources.h"
#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "octree/BoxTestResult.h"
#include "octree/CacheIdentifier.h"
#include "octree/Location.h"
#include "octree/NodePointData.h"
#include "octree/OctreeNodeId.h"
#include "render/Export.h"
#include "render/gpu/VertexFormats.h"
#include "render/pointcloud/IAttributeFilter.h"
#include "render/pointcloud/PointCloudFilter.h"

#include <Eigen/Core>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace Octree
{
class Octree;
}

namespace Render
{
class ExpectedNodes;

/// Hands out the points of an octree that lie in a region, chunk by chunk, coarse levels first, without
/// drawing anything.
///
/// Nodes wholly inside the region are copied without a test per point. Because points may lie outside their
/// node's cube by a step of the data set, and are rounded to single precision, the box that the filter is
/// asked about is a little wider than the cube (by two steps and the rounding); so the result is exactly
/// what testing every single point gives.
///
/// Frame    the octree's coordinates, narrowed to single precision and multiplied by the world matrix, are
///          both what the filter sees and what comes out.
/// Threads  one at a time; the cache may be shared with other queries on other threads.
class RENDER_API PointCloudQuery
{
public:
    /// The decoded points of nodes, shared by all queries of one data set and unit scale.
    using PointCache = Core::LruCache<
        Octree::OctreeNodeId,
        Octree::NodePointData,
        Core::CacheEntrySizeCount<Octree::NodePointData>>;

    /// The deadline is the timeout from now; the largest duration means none.
    /// @param filter          the region; the query owns it, also when the construction fails
    /// @param maxLevel        deepest level to visit, 0 is the root
    /// @param minimumSpacing  levels with this point spacing or less are left out, world units
    /// @throws std::invalid_argument  without octree, cache or filter
    PointCloudQuery(
        std::shared_ptr<Octree::Octree> octree,
        std::shared_ptr<PointCache> cache,
        const Eigen::Matrix4f& worldMatrix,
        IFilter* filter,
        std::uint64_t maxLevel,
        float minimumSpacing,
        std::chrono::nanoseconds timeout
    );
    PointCloudQuery(const PointCloudQuery&) = delete;
    PointCloudQuery& operator=(const PointCloudQuery&) = delete;
    /// Goes on with the other's walk; the other may only be destroyed or assigned to.
    PointCloudQuery(PointCloudQuery&&) noexcept;
    PointCloudQuery& operator=(PointCloudQuery&&) noexcept;
    ~PointCloudQuery();

    /// The cache of a data set without external attributes: a live one if there is, else a new one.
    /// @param capacity            most points in it
    /// @param expectedEntryCount  number of nodes to reserve room for
    static std::shared_ptr<PointCache> createOrGetSharedCache(
        const Octree::Location& location,
        double unitScale,
        std::uint64_t capacity,
        std::uint64_t expectedEntryCount
    );

    /// The same for what Octree::cacheIdentifier() tells of an octree with external attributes, too.
    static std::shared_ptr<PointCache> createOrGetSharedCache(
        const Octree::CacheIdentifier& identifier, std::uint64_t capacity, std::uint64_t expectedEntryCount
    );

    /// Writes the next points. After the deadline each call ends with the node in hand, or with one more.
    /// @param points  room for maxCount points
    /// @return how many there are; 0 when the traversal is finished, or when the deadline has passed and the
    ///         node in hand had none, which isFinished() tells apart
    /// @throws std::runtime_error  "Querying node data failed", the cause nested, or "Failed to fetch node by
    ///                             id"; points of this call are then lost and the next call goes on behind
    ///                             the node
    std::size_t getNextPointChunk(VertexPosColor* points, std::size_t maxCount);

    /// Hands out points with what is known of them, as getNextPointChunk() does; both go on where the other has
    /// stopped. Positions are those of the data set in double precision, relative to the octree's position, times
    /// its unit scale: the world matrix is for the filter alone.
    /// @param points  replaced by the next points: all arrays that queries have, or are asked for by
    ///                setRecordAttributes(), and the data set has
    /// @return how many there are, see getNextPointChunk()
    /// @throws std::runtime_error  as getNextPointChunk()
    std::size_t getNextPoints(Octree::NodePointColumns& points, std::size_t maxCount);

    /// Only points that this accepts, too, are handed out from the next call on; null for all.
    void setAttributeFilter(std::unique_ptr<IAttributeFilter> filter) noexcept;

    /// Which bits of Octree::kRecordAttributes getNextPoints() has and the attribute filter sees, none at first.
    /// Nodes are then read without the shared cache, which does not have these. Takes effect from the next node
    /// on, so it belongs before the first call.
    void setRecordAttributes(unsigned attributes);

    /// Whether all nodes have been handed out.
    bool isFinished() const noexcept { return !mHasCurrentNode && mQueue.empty(); }

    /// Takes effect from the next point and the next box on; boxes that have been tested stay so.
    void setWorldMatrix(const Eigen::Matrix4f& worldMatrix) noexcept;

private:
    /// Points as they were read; no cache knows them before it is their turn.
    struct PointsAhead
    {
        Octree::NodePointData points{Octree::kAllAttributes};
        std::optional<Octree::CacheIdentifier> identifier;  // of what was read
    };

    using Ahead = Core::ReadAhead<Octree::OctreeNodeId, PointsAhead>;

    struct Node
    {
        Octree::OctreeNodeId id;
        Octree::BoxTestResult boxTestResult = Octree::BoxTestResult::Outside;
        std::uint64_t level = 0;
        float spacing = 0.0F;
    };

    void enqueueIfWanted(const Octree::OctreeNodeId& id, Octree::BoxTestResult parentResult);
    Math::NBoundingBox<float, 3> worldBoxOfPoints(const Octree::OctreeNodeId& id) const;
    bool advance();
    void readAhead();
    bool requestNext();
    void fetchCurrentNode();
    bool readCurrentNode(Octree::NodePointData& points, std::stop_token stopToken);

    unsigned wantedAttributes() const noexcept { return Octree::kAllAttributes | mRecordAttributes; }

    bool isAccepted(std::size_t i) const;
    template <class Copy>
    std::size_t nextPoints(std::size_t maxCount, const Copy& copy);
    std::size_t copyPoints(VertexPosColor* points, std::size_t maxCount);
    std::size_t copyAcceptedPoints(VertexPosColor* points, std::size_t maxCount);
    std::size_t appendPoints(Octree::NodePointColumns& points, std::size_t maxCount);

    std::shared_ptr<Octree::Octree> mOctree;
    std::shared_ptr<PointCache> mCache;
    std::optional<Octree::CacheIdentifier> mCached;  // of the cached points; absent only while constructed
    std::deque<Node> mQueue;
    std::size_t mRequestedCount = 0;           // of the queue's first nodes: they are read ahead
    std::unique_ptr<Ahead> mAhead;             // from the first node that is
    std::unique_ptr<ExpectedNodes> mExpected;  // likewise
    Node mCurrentNode;
    Octree::NodePointData mCurrentPoints;
    bool mHasCurrentNode = false;
    std::size_t mNextPoint = 0;          // of the current node
    std::vector<std::size_t> mAccepted;  // kept for its memory
    PointCloudFilter mFilter;
    std::unique_ptr<IAttributeFilter> mAttributeFilter;
    unsigned mRecordAttributes = Octree::kNoAttributes;
    Eigen::Matrix4f mWorldMatrix = Eigen::Matrix4f::Identity();
    Eigen::Matrix3f mWorldMatrix3 = Eigen::Matrix3f::Identity();
    float mWorldScale = 1.0F;
    std::int64_t mDeadline = INT64_MAX;  // nanoseconds of the steady clock; the largest value means none

    static Core::SharedResources<Octree::CacheIdentifier, PointCache> mSharedCaches;
};
}  // namespace Render
