#include "render/pointcloud/FunctionFilter.h"

#include <cstddef>
#include <stdexcept>
#include <utility>

namespace Render
{
FunctionFilter::FunctionFilter(
    std::function<bool(const Math::Point<float, 3>&)> accepts, const Math::NBoundingBox<float, 3>& bounds
)
    : mAccepts(std::move(accepts)), mBounds(bounds)
{
    if (!mAccepts)
    {
        throw std::invalid_argument("FunctionFilter: function must not be empty");
    }
}

bool FunctionFilter::testPosition(const Math::Point<float, 3>& point)
{
    return (mBounds.isEmpty() || mBounds.contains(point)) && mAccepts(point);
}

Octree::BoxTestResult FunctionFilter::testBox(const Math::NBoundingBox<float, 3>& box)
{
    for (std::size_t axis = 0; axis < 3 && !mBounds.isEmpty(); ++axis)
    {
        if (box.min()[axis] > mBounds.max()[axis] || box.max()[axis] < mBounds.min()[axis])
        {
            return Octree::BoxTestResult::Outside;
        }
    }
    return Octree::BoxTestResult::Border;
}
}  // namespace Render
