#include "render/pointcloud/filters/UnionFilter.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Render
{
using Octree::BoxTestResult;

UnionFilter::UnionFilter(std::vector<std::unique_ptr<IFilter>> filters) : mFilters(std::move(filters))
{
    if (std::ranges::any_of(mFilters, [](const std::unique_ptr<IFilter>& filter) { return !filter; }))
    {
        throw std::invalid_argument("UnionFilter: a filter must not be empty");
    }
}

bool UnionFilter::testPosition(const Math::Point<float, 3>& point)
{
    return std::ranges::any_of(mFilters, [&](const auto& filter) { return filter->testPosition(point); });
}

BoxTestResult UnionFilter::testBox(const Math::NBoundingBox<float, 3>& box)
{
    BoxTestResult result = BoxTestResult::Outside;
    for (const std::unique_ptr<IFilter>& filter : mFilters)
    {
        const BoxTestResult one = filter->testBox(box);
        if (one == BoxTestResult::Inside)
        {
            return one;
        }
        if (one == BoxTestResult::Border)
        {
            result = one;
        }
    }
    return result;
}
}  // namespace Render
