#include "render/pointcloud/CloudCaches.h"

#include "core/SharedResources.h"
#include "octree/Octree.h"

#include <cstddef>
#include <utility>

namespace Render
{
namespace
{
constexpr unsigned long long kVertexCacheCapacity = 30'000'000;  // points
constexpr unsigned long long kPointCacheCapacity = 2'000'000;    // points
constexpr unsigned long long kExpectedEntries = 4000;            // nodes

std::shared_ptr<PointCloudQuery::PointCache> sharedPoints(const Octree::CacheIdentifier& identifier)
{
    return PointCloudQuery::createOrGetSharedCache(identifier, kPointCacheCapacity, kExpectedEntries);
}
}  // namespace

CloudCaches::CloudCaches(std::shared_ptr<Octree::Octree> octree)
    : mOctree(std::move(octree)), mIdentifier(mOctree->cacheIdentifier())
{
    renew();
}

std::shared_ptr<CachedVertices::Cache> CloudCaches::sharedVertices(
    const Octree::CacheIdentifier& identifier,
    unsigned long long capacity,
    unsigned long long expectedEntryCount
)
{
    static Core::SharedResources<Octree::CacheIdentifier, CachedVertices::Cache> registry;
    return registry.createOrGet(
        identifier,
        [=] {
            return std::make_shared<CachedVertices::Cache>(
                capacity, static_cast<std::size_t>(expectedEntryCount)
            );
        }
    );
}

void CloudCaches::renew()
{
    mIdentifier = mOctree->cacheIdentifier();
    mVertexCache = sharedVertices(mIdentifier, kVertexCacheCapacity, kExpectedEntries);
    mPointCache = sharedPoints(mIdentifier);
    mVertices = std::make_shared<const CachedVertices>(mOctree, mIdentifier, mVertexCache);
    const std::size_t maxBytesInFlight =
        mLoader ? mLoader->maxBytesInFlight() : NodeLoader::kDefaultMaxBytesInFlight;
    mLoader = std::make_unique<NodeLoader>(mVertices);
    mLoader->setMaxBytesInFlight(maxBytesInFlight);
}

void CloudCaches::clearVertices()
{
    mVertexCache->clear();
}

std::shared_ptr<PointCloudQuery::PointCache> CloudCaches::pointsForQuery() const
{
    const Octree::CacheIdentifier identifier = mOctree->cacheIdentifier();
    return identifier == mIdentifier ? mPointCache : sharedPoints(identifier);
}
}  // namespace Render
