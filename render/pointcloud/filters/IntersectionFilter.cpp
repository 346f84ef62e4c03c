#include "render/pointcloud/filters/IntersectionFilter.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Render
{
using Octree::BoxTestResult;

IntersectionFilter::IntersectionFilter(std::vector<std::unique_ptr<IFilter>> filters)
    : mFilters(std::move(filters))
{
    if (std::find(mFilters.begin(), mFilters.end(), nullptr) != mFilters.end())
    {
        throw std::invalid_argument("IntersectionFilter: a filter is empty");
    }
}

IntersectionFilter::~IntersectionFilter() = default;

bool IntersectionFilter::testPosition(const Math::Point<float, 3>& point)
{
    return std::all_of(
        mFilters.begin(), mFilters.end(), [&](const auto& filter) { return filter->testPosition(point); }
    );
}

BoxTestResult IntersectionFilter::testBox(const Math::NBoundingBox<float, 3>& box)
{
    BoxTestResult result = BoxTestResult::Inside;
    for (const std::unique_ptr<IFilter>& filter : mFilters)
    {
        const BoxTestResult one = filter->testBox(box);
        if (one != BoxTestResult::Inside && one != BoxTestResult::Border)
        {
            return BoxTestResult::Outside;
        }
        result = one == BoxTestResult::Border ? one : result;
    }
    return result;
}
}  // namespace Render
