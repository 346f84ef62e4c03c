#pragma once

#include "math/Point.h"
#include "math/eigenAlignment.h"
#include "render/Export.h"

#include <Eigen/Core>

namespace Render
{
/// The transform moved rigidly so that `from` comes to lie at `to` and the horizontal part of
/// `fromDirection` turns onto that of `toDirection`: T(to) Rz(angle) T(-from) matrix.
///
/// The transform is taken apart into translation, rotation and scale and put together again, so its scale
/// is kept and a shear is lost. A direction without a horizontal part counts as the x axis.
///
/// Threads  any.
RENDER_API Eigen::Matrix4f alignedByCorrespondences(
    const Eigen::Matrix4f& matrix,
    const Math::Point<float, 3>& from,
    const Math::Point<float, 3>& to,
    const Eigen::Vector3f& fromDirection,
    const Eigen::Vector3f& toDirection
);
}  // namespace Render
