#pragma once

#include "core/LruCache.h"
#include "octree/CacheIdentifier.h"
#include "octree/OctreeNodeId.h"
#include "render/Export.h"
#include "render/gpu/VertexContainer.h"

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

    /// @param identifier  what the cache holds; what is read of the octree after a change does not enter it
    CachedVertices(
        std::shared_ptr<const Octree::Octree> octree,
        Octree::CacheIdentifier identifier,
        std::shared_ptr<Cache> cache
    );

    /// @return false when a stop was requested
    /// @throws std::runtime_error  naming the file and what was wrong
    bool load(const Octree::OctreeNodeId& id, VertexContainer& vertices, std::stop_token stopToken) const;

    /// True when load() would not read.
    bool contains(const Octree::OctreeNodeId& id) const;

private:
    std::shared_ptr<const Octree::Octree> mOctree;
    Octree::CacheIdentifier mIdentifier;
    std::shared_ptr<Cache> mCache;
};
}  // namespace Render
