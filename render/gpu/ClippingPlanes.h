#pragma once

#include "math/ConvexPolytope.h"
#include "render/Export.h"

#include <array>
#include <cstddef>

namespace Render
{
/// The planes of a clipping volume as shaders read them: a row (a, b, c, d) for each, normals inward. Rows
/// of zeros keep everything.
using ClippingPlanes = std::array<std::array<float, 4>, 8>;

/// Packs the planes in order; the rows that are left become zero.
/// @throws std::runtime_error  "Error: volume contains too many clipping planes, plane count = " and the
///                             count, for more than eight
RENDER_API ClippingPlanes toClippingPlanes(const Math::ConvexPolytope<float, 3>& volume);
}  // namespace Render
