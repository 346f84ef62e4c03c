#pragma once

#include "math/Point.h"
#include "render/Export.h"
#include "render/pointcloud/IFilter.h"

namespace Render
{
/// A ball, its surface included, computed in double precision.
class RENDER_API SphereFilter final : public IFilter
{
public:
    /// @param center  world coordinates
    /// @param radius  world units; 0 leaves the centre alone
    /// @throws std::invalid_argument  for a centre that is not finite, a negative radius or a NaN
    SphereFilter(const Math::Point<float, 3>& center, double radius);

    bool testPosition(const Math::Point<float, 3>& point) override;
    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) override;

private:
    Math::Point<double, 3> mCenter;
    double mSquaredRadius;
};
}  // namespace Render
