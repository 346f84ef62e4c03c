#pragma once

#include "apps/cli/DensityGrid.h"
#include "apps/cli/Histogram.h"
#include <octree/NodePointData.h>

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Cli
{
/// Smallest and largest finite value that points have of an attribute; the first above the second when none is.
struct ValueRange
{
    std::string name;
    double min = 0.0;
    double max = 0.0;
};

/// What many points are like together.
///
/// Threads  one at a time.
class CloudStatistics
{
public:
    /// @param attributes  AttributeMask bits of what points have
    /// @param height      of a bin of heights, at first
    CloudStatistics(unsigned attributes, double height, DensityGrid grid);

    /// Counts points.
    /// @param origin  is added to positions
    void add(const Octree::NodePointColumns& points, const Math::Point<double, 3>& origin);

    std::uint64_t points() const noexcept { return mPoints; }

    /// Points of each class.
    const std::array<std::uint64_t, 256>& classes() const noexcept { return mClasses; }

    const Histogram& intensities() const noexcept { return mIntensities; }

    const Histogram& heights() const noexcept { return mHeights; }

    const DensityGrid& grid() const noexcept { return mGrid; }

    /// Of coordinates, channels and attributes, in the order in which tables have them; none without points.
    const std::vector<ValueRange>& ranges() const noexcept { return mRanges; }

private:
    void include(std::size_t& place, const char* name, double value);

    unsigned mAttributes;
    std::uint64_t mPoints = 0;
    std::array<std::uint64_t, 256> mClasses{};
    Histogram mIntensities{1.0};
    Histogram mHeights;
    DensityGrid mGrid;
    std::vector<ValueRange> mRanges;
};
}  // namespace Cli
