#pragma once

#include <math/NBoundingBox.h>
#include <math/Point.h>

#include <Eigen/Core>

namespace Cli
{
/// From where and how large to look so that a box fills the picture.
struct FittedView
{
    Math::Point<float, 3> eye;
    float orthographicHeight = 1.0F;  ///< height of the view volume that holds the box, world units
};

/// Finds the eye that sees all corners of a box as large as possible when it looks along a direction, and the
/// height of a parallel view from there.
/// @param box        world coordinates; an empty one counts as the unit cube around the origin
/// @param direction  where to look, of any length above 0
/// @param up         not parallel to the direction
/// @param fovYRad    vertical field of view of the perspective view, radians
/// @param aspect     width / height of the picture
FittedView fitCamera(
    const Math::NBoundingBox<float, 3>& box,
    const Eigen::Vector3f& direction,
    const Eigen::Vector3f& up,
    float fovYRad,
    float aspect
);
}  // namespace Cli
