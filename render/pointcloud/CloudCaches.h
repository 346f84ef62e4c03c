#pragma once

#include "core/NonCopyable.h"
#include "octree/CacheIdentifier.h"
#include "render/pointcloud/CachedVertices.h"
#include "render/pointcloud/CloudStatus.h"
#include "render/pointcloud/NodeLoader.h"
#include "render/pointcloud/PointCloudQuery.h"

#include <cstdint>
#include <memory>

namespace Octree
{
class Octree;
}

namespace Render
{
/// The caches that a cloud shares with all of the same data set, unit scale and external data sets, and its
/// own road to them.
///
/// Threads  what the members give may be used on any thread until renew(); the members themselves on one.
class CloudCaches : private Core::NonCopyable
{
public:
    explicit CloudCaches(std::shared_ptr<Octree::Octree> octree);

    /// The vertex cache of what the identifier tells: a live one if there is, else a new one.
    /// @param capacity            most points in it
    /// @param expectedEntryCount  number of nodes to reserve room for
    static std::shared_ptr<CachedVertices::Cache> sharedVertices(
        const Octree::CacheIdentifier& identifier, std::uint64_t capacity, std::uint64_t expectedEntryCount
    );

    /// Changes to the caches of what the octree is now, and leaves the old ones to those who still use them.
    /// Nothing may be loading.
    void renew();

    /// Empties the vertex cache, for everybody who shares it.
    void clearVertices();

    /// Of what the caches hold; who else shares the octree may have given it another one since.
    double unitScale() const noexcept { return mIdentifier.unitScale; }

    /// The intensities' of the octree when they were made.
    const std::optional<Octree::IntensityRange>& intensityRange() const noexcept
    {
        return mIdentifier.shownIntensityRange;
    }

    const CachedVertices& vertices() const noexcept { return *mVertices; }

    /// Its bound of bytes in flight survives renew().
    NodeLoader& loader() const noexcept { return *mLoader; }

    const CachedVertices::Cache& vertexCache() const noexcept { return *mVertexCache; }

    /// Of all caches that this object has had.
    const CachedVertices::Counts& counts() const noexcept { return *mCounts; }

    /// How large caches are that are made from now on, of all clouds of the process. Any thread.
    /// @throws std::invalid_argument  for a capacity of 0
    static void setCapacities(const CacheCapacities& capacities);
    static CacheCapacities capacities();

    /// The points of the octree as it is now.
    std::shared_ptr<PointCloudQuery::PointCache> pointsForQuery() const;

private:
    std::shared_ptr<Octree::Octree> mOctree;
    Octree::CacheIdentifier mIdentifier;  // what the caches hold
    std::shared_ptr<CachedVertices::Counts> mCounts = std::make_shared<CachedVertices::Counts>();
    std::shared_ptr<CachedVertices::Cache> mVertexCache;
    std::shared_ptr<const CachedVertices> mVertices;  // by way of mVertexCache
    std::unique_ptr<NodeLoader> mLoader;              // of mVertices
    std::shared_ptr<PointCloudQuery::PointCache> mPointCache;
};
}  // namespace Render
