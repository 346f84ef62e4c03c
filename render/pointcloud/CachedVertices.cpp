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
    // A cloud that shares the octree may have changed what is read: that is not for this cache.
    bool isRead = false;
    const auto read = [&](VertexContainer& loaded, const std::stop_token& stop)
    {
        const bool isWhole = convertToVertices(*mOctree, id, loaded, stop);
        if (!isWhole || mOctree->cacheIdentifier() == mIdentifier)
        {
            return isWhole;
        }
        vertices = std::move(loaded);
        isRead = true;
        return false;
    };
    if (mOctree->cacheIdentifier() != mIdentifier)
    {
        return convertToVertices(*mOctree, id, vertices, std::move(stopToken));
    }
    return mCache->getOrLoad(id, vertices, read, std::move(stopToken)) || isRead;
}

bool CachedVertices::contains(const Octree::OctreeNodeId& id) const
{
    return mOctree->cacheIdentifier() == mIdentifier && mCache->contains(id);
}
}  // namespace Render
