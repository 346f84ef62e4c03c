#include "render/pointcloud/filters/FunctionFilter.h"

#include "render/pointcloud/filters/BoxFilter.h"

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
    if (mBounds.isEmpty())
    {
        return Octree::BoxTestResult::Border;
    }
    const bool isOutside = BoxFilter(mBounds).testBox(box) == Octree::BoxTestResult::Outside;
    return isOutside ? Octree::BoxTestResult::Outside : Octree::BoxTestResult::Border;
}
}  // namespace Render
