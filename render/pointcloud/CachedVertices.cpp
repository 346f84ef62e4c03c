#include "render/pointcloud/CachedVertices.h"

#include "octree/Octree.h"
#include "render/pointcloud/convertToVertices.h"

#include <utility>

namespace Render
{
CachedVertices::CachedVertices(
    std::shared_ptr<const Octree::Octree> octree,
    Octree::CacheIdentifier identifier,
    std::shared_ptr<Cache> cache,
    std::shared_ptr<Counts> counts
)
    : mOctree(std::move(octree)),
      mIdentifier(std::move(identifier)),
      mCache(std::move(cache)),
      mCounts(counts ? std::move(counts) : std::make_shared<Counts>())
{
}

bool CachedVertices::read(
    const Octree::OctreeNodeId& id, VertexContainer& vertices, const std::stop_token& stopToken
) const
{
    try
    {
        const bool isRead = convertToVertices(*mOctree, id, vertices, stopToken);
        mCounts->read += isRead ? 1 : 0;
        return isRead;
    }
    catch (...)
    {
        mCounts->failed += stopToken.stop_requested() ? 0 : 1;
        throw;
    }
}

bool CachedVertices::load(
    const Octree::OctreeNodeId& id, VertexContainer& vertices, std::stop_token stopToken
) const
{
    const auto readNode = [&](VertexContainer& loaded, const std::stop_token& stop)
    { return read(id, loaded, stop); };
    const auto isOurs = [&] { return mOctree->cacheIdentifier() == mIdentifier; };
    if (!isOurs())
    {
        return read(id, vertices, stopToken);
    }
    // A cloud that shares the octree may change meanwhile what is read: that is not for this cache.
    return mCache->getOrLoad(id, vertices, readNode, isOurs, std::move(stopToken));
}

void CachedVertices::expect(const Octree::OctreeNodeId& id) const noexcept
{
    mOctree->expectNodePoints(id, kDrawnAttributes);
}

void CachedVertices::forget(const Octree::OctreeNodeId& id) const noexcept
{
    mOctree->forgetNodePoints(id, kDrawnAttributes);
}

bool CachedVertices::contains(const Octree::OctreeNodeId& id) const
{
    return mOctree->cacheIdentifier() == mIdentifier && mCache->contains(id);
}
}  // namespace Render
