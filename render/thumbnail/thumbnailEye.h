#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "render/Export.h"

namespace Render
{
/// Vertical field of view of a thumbnail, degrees.
inline constexpr float kThumbnailFovYDeg = 20.0F;

/// Where a thumbnail is taken from: beyond the box's corner with the largest coordinates, from above, so that
/// the whole box is in the picture when the camera looks at its centre with +z up.
///
/// The direction is that from the centre to the corner, raised by 0.3 of the box's largest side. The distance
/// is 1.1 times the one from which the box just fits into the picture. A box without extent is looked at from
/// one unit away.
/// @param box          world coordinates
/// @param aspectRatio  width of the picture by its height
RENDER_API Math::Point<float, 3> thumbnailEye(const Math::NBoundingBox<float, 3>& box, float aspectRatio);
}  // namespace Render
