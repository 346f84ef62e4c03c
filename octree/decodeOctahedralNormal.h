#pragma once

#include "math/Point.h"

#include <cmath>
#include <cstdint>

namespace Octree
{
/// The unit vector of a 16-bit octahedral code: high byte x, low byte y, each 0..255 for -1..1.
/// Source   Q. Meyer et al., "On Floating-Point Normal Vectors", Computer Graphics Forum 29 (2010).
inline Math::Point<float, 3> decodeOctahedralNormal(std::uint16_t code) noexcept
{
    float x = static_cast<float>(code >> 8U) / 255.0F * 2.0F - 1.0F;
    float y = static_cast<float>(code & 0xFFU) / 255.0F * 2.0F - 1.0F;
    const float z = 1.0F - std::abs(x) - std::abs(y);
    if (z < 0.0F)  // the lower half is folded over the upper one's edges
    {
        const float foldedX = (1.0F - std::abs(y)) * (x >= 0.0F ? 1.0F : -1.0F);
        y = (1.0F - std::abs(x)) * (y >= 0.0F ? 1.0F : -1.0F);
        x = foldedX;
    }
    const float squaredLength = x * x + y * y + z * z;
    if (!(squaredLength > 0.0F))
    {
        return {x, y, z};
    }
    const float length = std::sqrt(squaredLength);
    return {x / length, y / length, z / length};
}
}  // namespace Octree
