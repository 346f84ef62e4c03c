#include "math/transform.h"

#include <Eigen/LU>

#include <utility>
#include <vector>

namespace Math
{
namespace
{
/// (a, b, c, d) as a row vector times the inverse: with q = M p, h . p = (h M^-1) . q.
template <class Plane>
Plane timesInverse(const Plane& plane, const Eigen::Matrix4f& inverseMatrix) noexcept
{
    const Eigen::RowVector4f row = Eigen::RowVector4f(plane.a, plane.b, plane.c, plane.d) * inverseMatrix;
    return Plane(row.x(), row.y(), row.z(), row.w());
}
}  // namespace

Point<float, 3> transformed(const Point<float, 3>& point, const Eigen::Matrix4f& matrix) noexcept
{
    const Eigen::Vector4f result = matrix * Eigen::Vector4f(point.x, point.y, point.z, 1.0F);
    return {result.x() / result.w(), result.y() / result.w(), result.z() / result.w()};
}

NBoundingBox<float, 3> transformed(const NBoundingBox<float, 3>& box, const Eigen::Matrix4f& matrix) noexcept
{
    if (box.isEmpty())
    {
        return box;
    }
    constexpr std::size_t kCornerCount = 8;
    NBoundingBox<float, 3> result;
    for (std::size_t i = 0; i < kCornerCount; ++i)
    {
        result.extend(transformed(box.corner(i), matrix));
    }
    return result;
}

HalfSpace<float, 3> transformed(const HalfSpace<float, 3>& halfSpace, const Eigen::Matrix4f& matrix) noexcept
{
    return transformedByInverse(halfSpace, matrix.inverse());
}

NPlane<float, 3> transformed(const NPlane<float, 3>& plane, const Eigen::Matrix4f& matrix) noexcept
{
    return transformedByInverse(plane, matrix.inverse());
}

ConvexPolytope<float, 3> transformed(const ConvexPolytope<float, 3>& polytope, const Eigen::Matrix4f& matrix)
{
    return transformedByInverse(polytope, matrix.inverse());
}

HalfSpace<float, 3> transformedByInverse(
    const HalfSpace<float, 3>& halfSpace, const Eigen::Matrix4f& inverseMatrix
) noexcept
{
    return timesInverse(halfSpace, inverseMatrix);
}

NPlane<float, 3> transformedByInverse(
    const NPlane<float, 3>& plane, const Eigen::Matrix4f& inverseMatrix
) noexcept
{
    return timesInverse(plane, inverseMatrix);
}

ConvexPolytope<float, 3> transformedByInverse(
    const ConvexPolytope<float, 3>& polytope, const Eigen::Matrix4f& inverseMatrix
)
{
    std::vector<HalfSpace<float, 3>> halfSpaces;
    halfSpaces.reserve(polytope.size());
    for (const HalfSpace<float, 3>& halfSpace : polytope.halfSpaces())
    {
        halfSpaces.push_back(transformedByInverse(halfSpace, inverseMatrix));
    }
    return ConvexPolytope<float, 3>(std::move(halfSpaces));
}
}  // namespace Math
