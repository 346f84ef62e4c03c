#include "apps/cli/CloudStatistics.h"

#include "apps/cli/pointColumns.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace Cli
{
CloudStatistics::CloudStatistics(unsigned attributes, double height, DensityGrid grid)
    : mAttributes(attributes), mHeights(height), mGrid(std::move(grid))
{
}

void CloudStatistics::add(const Octree::NodePointColumns& points, const Math::Point<double, 3>& origin)
{
    static constexpr std::array<const char*, 3> kAxes{"X", "Y", "Z"};
    for (std::size_t i = 0; i < points.pointCount; ++i)
    {
        std::size_t place = 0;
        std::array<double, 3> position{};
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            position[axis] = points.positions[i][axis] + origin[axis];
            include(place, kAxes[axis], position[axis]);
        }
        mGrid.add(position[0], position[1]);
        mHeights.add(position[2]);
        if (Octree::hasColor(mAttributes))
        {
            const Math::Color color = points.colors[i];
            include(place, "Red", color.r());
            include(place, "Green", color.g());
            include(place, "Blue", color.b());
        }
        const auto includeValue = [&](unsigned bit, const ColumnNames& names, const auto& valueOf)
        {
            if ((mAttributes & bit) != 0)
            {
                include(place, names.text, static_cast<double>(valueOf(i)));
            }
        };
        visitColumns(points, includeValue);
        if (!points.classifications.empty())
        {
            ++mClasses[points.classifications[i]];
        }
        if (!points.intensities.empty())
        {
            mIntensities.add(points.intensities[i]);
        }
    }
    mPoints += points.pointCount;
}

/// Widens the range at the place, which is made at the first point, and steps on.
void CloudStatistics::include(std::size_t& place, const char* name, double value)
{
    if (place == mRanges.size())
    {
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        mRanges.push_back({name, kInfinity, -kInfinity});
    }
    ValueRange& range = mRanges[place++];
    if (std::isfinite(value))
    {
        range.min = std::min(range.min, value);
        range.max = std::max(range.max, value);
    }
}
}  // namespace Cli
