#pragma once

#include "math/ConvexPolytope.h"
#include "render/Export.h"
#include "render/pointcloud/IFilter.h"

namespace Render
{
/// An intersection of half-spaces, borders included; without any it is the whole space.
///
/// Computed in double precision, because the last coefficient of a plane far from the origin is large.
class RENDER_API PolytopeFilter final : public IFilter
{
public:
    /// @param polytope  world coordinates; normals point inwards and need not be of unit length
    /// @throws std::invalid_argument  for a normal of length 0 and for numbers that are not finite
    explicit PolytopeFilter(Math::ConvexPolytope<double, 3> polytope);

    bool testPosition(const Math::Point<float, 3>& point) override;

    /// Outside only where one of the planes alone says so.
    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) override;

private:
    Math::ConvexPolytope<double, 3> mPolytope;
};
}  // namespace Render
