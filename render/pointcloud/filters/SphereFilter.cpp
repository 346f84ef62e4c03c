#include "render/pointcloud/filters/SphereFilter.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace Render
{
namespace
{
using Octree::BoxTestResult;

// The same operations in the same order for points and for boxes: rounding is monotone, so the squared
// distance of a point of a box is never computed as less than the nearest or more than the farthest one.
double squaredLength(double x, double y, double z) noexcept
{
    return x * x + y * y + z * z;
}
}  // namespace

SphereFilter::SphereFilter(const Math::Point<float, 3>& center, double radius)
    : mCenter(center.x, center.y, center.z), mSquaredRadius(radius * radius)
{
    if (!std::isfinite(center.x) || !std::isfinite(center.y) || !std::isfinite(center.z))
    {
        throw std::invalid_argument("SphereFilter: the center must be finite");
    }
    if (!(radius >= 0.0))
    {
        throw std::invalid_argument("SphereFilter: the radius must be 0 or more");
    }
}

bool SphereFilter::testPosition(const Math::Point<float, 3>& point)
{
    return squaredLength(point.x - mCenter.x, point.y - mCenter.y, point.z - mCenter.z) <= mSquaredRadius;
}

BoxTestResult SphereFilter::testBox(const Math::NBoundingBox<float, 3>& box)
{
    Math::Point<double, 3> nearest;
    Math::Point<double, 3> farthest;
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const double below = box.min()[axis] - mCenter[axis];  // above 0 when the box lies beyond the centre
        const double above = box.max()[axis] - mCenter[axis];
        nearest[axis] = std::max({below, -above, 0.0});
        farthest[axis] = std::max(std::abs(below), std::abs(above));
    }
    if (squaredLength(nearest.x, nearest.y, nearest.z) > mSquaredRadius)
    {
        return BoxTestResult::Outside;
    }
    return squaredLength(farthest.x, farthest.y, farthest.z) <= mSquaredRadius ? BoxTestResult::Inside
                                                                               : BoxTestResult::Border;
}
}  // namespace Render
