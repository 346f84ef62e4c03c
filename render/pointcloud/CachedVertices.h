#pragma once

#include "core/LruCache.h"
#include "octree/CacheIdentifier.h"
#include "octree/OctreeNodeId.h"
#include "render/Export.h"
#include "render/gpu/VertexContainer.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <stop_token>

namespace Octree
{
class Octree;
}

namespace Render
{
/// The vertices of an octree's nodes by way of the cache that clouds of one data set share.
///
/// Threads  all operations from any threads at once; nodes are read without a lock.
class RENDER_API CachedVertices
{
public:
    /// Vertices by node, weighed by their number.
    using Cache =
        Core::LruCache<Octree::OctreeNodeId, VertexContainer, Core::CacheEntrySizeCount<VertexContainer>>;

    /// How many nodes were read, and how many could not be; stop requests do not count.
    struct Counts
    {
        std::atomic<std::uint64_t> read{0};    ///< nodes
        std::atomic<std::uint64_t> failed{0};  ///< tries
    };

    /// @param identifier  what the cache holds; what is read of the octree after a change does not enter it
    /// @param counts      counted on; none are if it is null
    CachedVertices(
        std::shared_ptr<const Octree::Octree> octree,
        Octree::CacheIdentifier identifier,
        std::shared_ptr<Cache> cache,
        std::shared_ptr<Counts> counts = nullptr
    );

    /// @return false when a stop was requested
    /// @throws std::runtime_error  naming the file and what was wrong
    bool load(const Octree::OctreeNodeId& id, VertexContainer& vertices, std::stop_token stopToken) const;

    /// Says that load() will soon read the node, or that it will not; does not wait.
    void expect(const Octree::OctreeNodeId& id) const noexcept;
    void forget(const Octree::OctreeNodeId& id) const noexcept;

    /// True when load() would not read.
    bool contains(const Octree::OctreeNodeId& id) const;

private:
    bool read(const Octree::OctreeNodeId& id, VertexContainer& vertices, const std::stop_token& stopToken)
        const;

    std::shared_ptr<const Octree::Octree> mOctree;
    Octree::CacheIdentifier mIdentifier;
    std::shared_ptr<Cache> mCache;
    std::shared_ptr<Counts> mCounts;
};
}  // namespace Render
