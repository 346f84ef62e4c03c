#include "render/pointcloud/filters/BoxFilter.h"

#include <cmath>
#include <stdexcept>

namespace Render
{
using Octree::BoxTestResult;

BoxFilter::BoxFilter(const Math::NBoundingBox<float, 3>& box) : mBox(box)
{
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        if (std::isnan(box.min()[axis]) || std::isnan(box.max()[axis]))
        {
            throw std::invalid_argument("BoxFilter: a corner of the box is not a number");
        }
    }
}

bool BoxFilter::testPosition(const Math::Point<float, 3>& point)
{
    // every comparison is made, whatever the others say: no branch to mispredict
    const auto isBetween = [](float value, float low, float high)
    { return static_cast<unsigned>(value >= low) & static_cast<unsigned>(value <= high); };
    return (isBetween(point.x, mBox.min().x, mBox.max().x) & isBetween(point.y, mBox.min().y, mBox.max().y) &
            isBetween(point.z, mBox.min().z, mBox.max().z)) != 0;
}

BoxTestResult BoxFilter::testBox(const Math::NBoundingBox<float, 3>& box)
{
    if (mBox.isEmpty())
    {
        return BoxTestResult::Outside;
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        if (box.min()[axis] > mBox.max()[axis] || box.max()[axis] < mBox.min()[axis])
        {
            return BoxTestResult::Outside;
        }
    }
    return mBox.contains(box.min()) && mBox.contains(box.max()) ? BoxTestResult::Inside
                                                                : BoxTestResult::Border;
}
}  // namespace Render
