#include "apps/cli/PointSearch.h"

#include "apps/cli/Console.h"
#include <render/pointcloud/filters/BoxFilter.h>

#include <limits>
#include <stdexcept>
#include <utility>

namespace Cli
{
namespace
{
constexpr std::size_t kChunkSize = std::size_t{1} << 16U;  // points
constexpr std::uint64_t kCacheCapacity = 2'000'000;        // points
constexpr std::uint64_t kExpectedCacheEntries = 4000;      // nodes

/// Lends a filter: one of every so many is counted across data sets.
class SharedFilter final : public Render::IAttributeFilter
{
public:
    explicit SharedFilter(std::shared_ptr<Render::IAttributeFilter> filter) : mFilter(std::move(filter)) {}

    bool testAttributes(const Render::PointAttributes& point) override
    {
        return mFilter->testAttributes(point);
    }

private:
    std::shared_ptr<Render::IAttributeFilter> mFilter;
};

std::unique_ptr<Render::IFilter> regionOrAll(
    const RegionOptions& region, const Math::Point<double, 3>& origin
)
{
    if (hasRegion(region))
    {
        return makeRegion(region, origin);
    }
    constexpr float kFar = std::numeric_limits<float>::max();
    return std::make_unique<Render::BoxFilter>(
        Math::NBoundingBox<float, 3>({-kFar, -kFar, -kFar}, {kFar, kFar, kFar})
    );
}
}  // namespace

void checkAttributes(const AttributeOptions& options, const Octree::Octree& octree)
{
    constexpr unsigned kReturns = Octree::kReturnNumberAttribute | Octree::kReturnCountAttribute;
    if (!options.returns.empty() && (octree.recordMask() & kReturns) != kReturns)
    {
        throw std::runtime_error(
            octree.location().name() + ": its points have no return numbers, which --returns asks for"
        );
    }
    if (!options.classifications.empty() && !Octree::hasClassification(octree.attributeMask()))
    {
        printNote(octree.location().name() + ": its points have no classes, all count as 0");
    }
    if (!options.intensities.empty() && !Octree::hasIntensity(octree.attributeMask()))
    {
        printNote(octree.location().name() + ": its points have no intensities, all count as 0");
    }
}

PointSearch::PointSearch(
    const SearchOptions& options,
    const std::shared_ptr<Octree::Octree>& octree,
    const std::shared_ptr<Render::IAttributeFilter>& filter,
    unsigned recordAttributes,
    std::chrono::nanoseconds timeout
)
    : mQuery(
          octree,
          Render::PointCloudQuery::createOrGetSharedCache(
              octree->location(), octree->unitScale(), kCacheCapacity, kExpectedCacheEntries
          ),
          Eigen::Matrix4f::Identity(),
          regionOrAll(options.region, octree->position()).release(),
          options.maxLevel,
          options.minSpacing,
          timeout
      )
{
    mQuery.setRecordAttributes(recordAttributes & octree->recordMask());
    if (filter)
    {
        mQuery.setAttributeFilter(std::make_unique<SharedFilter>(filter));
    }
}

bool PointSearch::next(Octree::NodePointColumns& points)
{
    const std::size_t count = mQuery.getNextPoints(points, kChunkSize);
    return count == kChunkSize && !mQuery.isFinished();  // fewer come at the end, and when the time is over
}
}  // namespace Cli
