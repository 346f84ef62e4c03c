#include "render/pointcloud/filters/OrientedBoxFilter.h"

#include <cmath>
#include <stdexcept>

namespace Render
{
namespace
{
using Octree::BoxTestResult;

constexpr double kAxisTolerance = 1e-4;  // absorbs axes that have been through single precision

// The terms are added in the order of boxRange, so that rounding, which is monotone, keeps a point of a box
// within the box's range.
double along(const Math::Point<double, 3>& axis, double x, double y, double z) noexcept
{
    return axis.x * x + axis.y * y + axis.z * z;
}
}  // namespace

OrientedBoxFilter::OrientedBoxFilter(
    const Math::Point<float, 3>& center, const Eigen::Matrix3d& axes, const Eigen::Vector3d& halfSizes
)
    : mCenter(center.x, center.y, center.z), mHalfSizes(halfSizes.x(), halfSizes.y(), halfSizes.z())
{
    const bool isFinite = std::isfinite(center.x) && std::isfinite(center.y) && std::isfinite(center.z) &&
                          axes.allFinite() && halfSizes.allFinite();
    if (!isFinite)
    {
        throw std::invalid_argument("OrientedBoxFilter: a number is not finite");
    }
    if ((axes.transpose() * axes - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff() > kAxisTolerance)
    {
        throw std::invalid_argument(
            "OrientedBoxFilter: the axes must be of unit length and at right angles to each other"
        );
    }
    for (Eigen::Index i = 0; i < 3; ++i)
    {
        mAxes[i] = {axes(0, i), axes(1, i), axes(2, i)};
    }
}

bool OrientedBoxFilter::testPosition(const Math::Point<float, 3>& point)
{
    const double x = double{point.x} - mCenter.x;
    const double y = double{point.y} - mCenter.y;
    const double z = double{point.z} - mCenter.z;
    for (std::size_t i = 0; i < 3; ++i)
    {
        if (!(std::abs(along(mAxes[i], x, y, z)) <= mHalfSizes[i]))
        {
            return false;
        }
    }
    return true;
}

BoxTestResult OrientedBoxFilter::testBox(const Math::NBoundingBox<float, 3>& box)
{
    bool isInside = true;
    for (std::size_t i = 0; i < 3; ++i)
    {
        const Math::Point<double, 3>& axis = mAxes[i];
        Math::Point<double, 3> lowest;   // relative to the center, the corner where the axis begins
        Math::Point<double, 3> highest;  // and the opposite one
        for (std::size_t k = 0; k < 3; ++k)
        {
            const double min = double{box.min()[k]} - mCenter[k];
            const double max = double{box.max()[k]} - mCenter[k];
            lowest[k] = axis[k] < 0.0 ? max : min;
            highest[k] = axis[k] < 0.0 ? min : max;
        }
        const double from = along(axis, lowest.x, lowest.y, lowest.z);
        const double to = along(axis, highest.x, highest.y, highest.z);
        if (from > mHalfSizes[i] || to < -mHalfSizes[i] || mHalfSizes[i] < 0.0)
        {
            return BoxTestResult::Outside;
        }
        isInside = isInside && from >= -mHalfSizes[i] && to <= mHalfSizes[i];
    }
    return isInside ? BoxTestResult::Inside : BoxTestResult::Border;
}
}  // namespace Render
