#pragma once

#include "math/Color.h"
#include "math/Point.h"

#include <cstddef>
#include <type_traits>

namespace Render
{
/// A box to draw as a wire frame, read by the box shader as per-instance data. 28 bytes.
struct BoxWithColor
{
    Math::Point<float, 3> min;  ///< lowest corner
    Math::Point<float, 3> max;  ///< highest corner
    Math::Color color;          ///< of the edges
};

static_assert(sizeof(BoxWithColor) == 28 && std::is_trivially_copyable_v<BoxWithColor>);
static_assert(offsetof(BoxWithColor, max) == 12 && offsetof(BoxWithColor, color) == 24);
}  // namespace Render
