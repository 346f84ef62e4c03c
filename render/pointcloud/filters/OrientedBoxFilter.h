#pragma once

#include "math/Point.h"
#include "math/eigenAlignment.h"
#include "render/Export.h"
#include "render/pointcloud/IFilter.h"

#include <Eigen/Core>

namespace Render
{
/// A box turned any way, borders included: the points c with |axis . (p - center)| <= half size for each of
/// its three axes, computed in double precision. A negative half size makes it hold nothing.
class RENDER_API OrientedBoxFilter final : public IFilter
{
public:
    /// @param center     world coordinates
    /// @param axes       one direction a column, of unit length and at right angles to the others
    /// @param halfSizes  half of the box's size along each axis
    /// @throws std::invalid_argument  for axes that are not so, and for numbers that are not finite
    OrientedBoxFilter(
        const Math::Point<float, 3>& center, const Eigen::Matrix3d& axes, const Eigen::Vector3d& halfSizes
    );

    bool testPosition(const Math::Point<float, 3>& point) override;

    /// Outside only where one of the box's own axes separates the two.
    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) override;

private:
    Math::Point<double, 3> mCenter;
    Math::Point<double, 3> mAxes[3];
    Math::Point<double, 3> mHalfSizes;
};
}  // namespace Render
