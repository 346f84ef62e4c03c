#include "render/pointcloud/CloudCaches.h"

#include "core/SharedResources.h"
#include "octree/Octree.h"

#include <cstddef>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace Render
{
namespace
{
constexpr std::uint64_t kExpectedEntries = 4000;  // nodes

struct SharedCapacities
{
    std::mutex mutex;  // guards what follows
    CacheCapacities capacities;
};

SharedCapacities& sharedCapacities()
{
    static SharedCapacities instance;
    return instance;
}

std::shared_ptr<PointCloudQuery::PointCache> sharedPoints(const Octree::CacheIdentifier& identifier)
{
    return PointCloudQuery::createOrGetSharedCache(
        identifier, CloudCaches::capacities().queryPoints, kExpectedEntries
    );
}
}  // namespace

CloudCaches::CloudCaches(std::shared_ptr<Octree::Octree> octree)
    : mOctree(std::move(octree)), mIdentifier(mOctree->cacheIdentifier())
{
    renew();
}

std::shared_ptr<CachedVertices::Cache> CloudCaches::sharedVertices(
    const Octree::CacheIdentifier& identifier, std::uint64_t capacity, std::uint64_t expectedEntryCount
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
    mVertexCache = sharedVertices(mIdentifier, capacities().vertices, kExpectedEntries);
    mPointCache = sharedPoints(mIdentifier);
    mVertices = std::make_shared<const CachedVertices>(mOctree, mIdentifier, mVertexCache, mCounts);
    const std::size_t maxBytesInFlight =
        mLoader ? mLoader->maxBytesInFlight() : NodeLoader::kDefaultMaxBytesInFlight;
    mLoader = std::make_unique<NodeLoader>(mVertices);
    mLoader->setMaxBytesInFlight(maxBytesInFlight);
}

void CloudCaches::setCapacities(const CacheCapacities& capacities)
{
    if (capacities.vertices == 0 || capacities.queryPoints == 0)
    {
        throw std::invalid_argument("a cache needs room for points, expected capacities above 0");
    }
    SharedCapacities& shared = sharedCapacities();
    const std::scoped_lock lock(shared.mutex);
    shared.capacities = capacities;
}

CacheCapacities CloudCaches::capacities()
{
    SharedCapacities& shared = sharedCapacities();
    const std::scoped_lock lock(shared.mutex);
    return shared.capacities;
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
