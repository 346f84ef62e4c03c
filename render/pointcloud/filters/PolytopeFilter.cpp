#include "render/pointcloud/filters/PolytopeFilter.h"

#include <cmath>
#include <stdexcept>
#include <utility>

namespace Render
{
using Octree::BoxTestResult;

PolytopeFilter::PolytopeFilter(Math::ConvexPolytope<double, 3> polytope) : mPolytope(std::move(polytope))
{
    for (const Math::HalfSpace<double, 3>& halfSpace : mPolytope.halfSpaces())
    {
        if (!std::isfinite(halfSpace.a) || !std::isfinite(halfSpace.b) || !std::isfinite(halfSpace.c) ||
            !std::isfinite(halfSpace.d))
        {
            throw std::invalid_argument("PolytopeFilter: a coefficient of a plane is not finite");
        }
        if (halfSpace.a == 0.0 && halfSpace.b == 0.0 && halfSpace.c == 0.0)
        {
            throw std::invalid_argument("PolytopeFilter: the normal of a plane has length 0");
        }
    }
}

bool PolytopeFilter::testPosition(const Math::Point<float, 3>& point)
{
    return mPolytope.contains({point.x, point.y, point.z});
}

BoxTestResult PolytopeFilter::testBox(const Math::NBoundingBox<float, 3>& box)
{
    // Evaluated like points, whose values lie between those of the two corners since rounding is monotone.
    bool isInside = true;
    for (const Math::HalfSpace<double, 3>& halfSpace : mPolytope.halfSpaces())
    {
        const Math::Point<double, 3> normal(halfSpace.a, halfSpace.b, halfSpace.c);
        Math::Point<double, 3> outermost;
        Math::Point<double, 3> innermost;
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const bool isDescending = normal[axis] < 0.0;
            outermost[axis] = isDescending ? box.max()[axis] : box.min()[axis];
            innermost[axis] = isDescending ? box.min()[axis] : box.max()[axis];
        }
        if (halfSpace.evaluate(innermost) < 0.0)
        {
            return BoxTestResult::Outside;
        }
        isInside = isInside && halfSpace.evaluate(outermost) >= 0.0;
    }
    return isInside ? BoxTestResult::Inside : BoxTestResult::Border;
}
}  // namespace Render
