#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "octree/BoxTestResult.h"
#include "render/pointcloud/IFilter.h"

#include <cstdint>
#include <memory>

namespace Render
{
/// What a query wants: a region, and how fine its points may be.
///
/// A moved-from filter has no region and must not be asked about one.
/// Threads  a plain value.
class PointCloudFilter
{
public:
    /// @param filter          the region; owned from now on
    /// @param maxLevel        deepest octree level that counts
    /// @param minimumSpacing  only levels whose points are farther apart than this count, world units
    PointCloudFilter(IFilter* filter, std::uint64_t maxLevel, float minimumSpacing) noexcept
        : mMaxLevel(maxLevel), mMinimumSpacing(minimumSpacing), mFilter(filter)
    {
    }

    PointCloudFilter(const PointCloudFilter&) = delete;
    PointCloudFilter& operator=(const PointCloudFilter&) = delete;
    PointCloudFilter(PointCloudFilter&&) noexcept = default;
    PointCloudFilter& operator=(PointCloudFilter&&) noexcept = default;
    ~PointCloudFilter() = default;

    /// Whether points of that level are wanted.
    bool testLevel(std::uint64_t level) const noexcept { return level <= mMaxLevel; }

    /// A spacing equal to the minimum is too fine.
    bool testSpacing(float spacing) const noexcept { return spacing > mMinimumSpacing; }

    /// What the filter says of a box.
    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) const
    {
        return mFilter->testBox(box);
    }

    /// What the filter says of a position.
    bool testPosition(const Math::Point<float, 3>& point) const { return mFilter->testPosition(point); }

private:
    std::uint64_t mMaxLevel;
    float mMinimumSpacing;
    std::unique_ptr<IFilter> mFilter;
};
}  // namespace Render
