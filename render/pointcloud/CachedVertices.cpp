#include "render/pointcloud/CachedVertices.h"

#include "octree/Octree.h"
#include "render/pointcloud/convertToVertices.h"

#include <utility>

namespace Render
{
CachedVertices::CachedVertices(
    std::shared_ptr<const Octree::Octree> octree,
    Octree::CacheIdentifier identifier,
    std::shared_ptr<Cache> cache
)
    : mOctree(std::move(octree)), mIdentifier(std::move(identifier)), mCache(std::move(cache))
{
}

bool CachedVertices::load(
    const Octree::OctreeNodeId& id, VertexContainer& vertices, std::stop_token stopToken
) const
{
    const auto read = [&](VertexContainer& loaded, const std::stop_token& stop)
    { return convertToVertices(*mOctree, id, loaded, stop); };
    const auto isOurs = [&] { return mOctree->cacheIdentifier() == mIdentifier; };
    if (!isOurs())
    {
        return read(vertices, stopToken);
    }
    // A cloud that shares the octree may change meanwhile what is read: that is not for this cache.
    return mCache->getOrLoad(id, vertices, read, isOurs, std::move(stopToken));
}

bool CachedVertices::contains(const Octree::OctreeNodeId& id) const
{
    return mOctree->cacheIdentifier() == mIdentifier && mCache->contains(id);
}
}  // namespace Render
