#pragma once

#include "math/ConvexPolytope.h"
#include "math/Export.h"
#include "math/HalfSpace.h"
#include "math/NBoundingBox.h"
#include "math/NPlane.h"
#include "math/Point.h"
#include "math/eigenAlignment.h"

#include <Eigen/Core>

namespace Math
{
/// The point times the matrix, divided by w. A w of 0 gives infinities or NaN.
MATH_API Point<float, 3> transformed(const Point<float, 3>& point, const Eigen::Matrix4f& matrix) noexcept;

/// The smallest axis-aligned box that holds the eight transformed corners; an empty box comes back unchanged.
MATH_API NBoundingBox<float, 3> transformed(
    const NBoundingBox<float, 3>& box, const Eigen::Matrix4f& matrix
) noexcept;

/// The half-space that holds matrix x p exactly when the given one holds p. A matrix without inverse gives
/// infinities or NaN.
MATH_API HalfSpace<float, 3> transformed(
    const HalfSpace<float, 3>& halfSpace, const Eigen::Matrix4f& matrix
) noexcept;

/// The plane through the transformed points of the given one; not normalised again.
MATH_API NPlane<float, 3> transformed(const NPlane<float, 3>& plane, const Eigen::Matrix4f& matrix) noexcept;

/// Every half-space of the polytope transformed.
MATH_API ConvexPolytope<float, 3> transformed(
    const ConvexPolytope<float, 3>& polytope, const Eigen::Matrix4f& matrix
);

/// The half-space that holds matrix x p exactly when the given one holds p: (a, b, c, d) times the inverse
/// matrix. Takes the inverse so that a caller with many half-spaces inverts once.
/// @param inverseMatrix  the inverse of the transform to apply
MATH_API HalfSpace<float, 3> transformedByInverse(
    const HalfSpace<float, 3>& halfSpace, const Eigen::Matrix4f& inverseMatrix
) noexcept;

/// The plane through the transformed points of the given one; not normalised again.
/// @param inverseMatrix  the inverse of the transform to apply
MATH_API NPlane<float, 3> transformedByInverse(
    const NPlane<float, 3>& plane, const Eigen::Matrix4f& inverseMatrix
) noexcept;

/// Every half-space of the polytope transformed as above.
MATH_API ConvexPolytope<float, 3> transformedByInverse(
    const ConvexPolytope<float, 3>& polytope, const Eigen::Matrix4f& inverseMatrix
);
}  // namespace Math
