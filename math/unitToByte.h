#pragma once

#include <cmath>

namespace Math
{
/// x in [0, 1] as a byte the way Direct3D stores a normalised channel: nearest, ties to even, values outside
/// clamp and NaN is 0.
inline unsigned char unitToByte(float x) noexcept
{
    if (!(x > 0.0F))
    {
        return 0;
    }
    return x < 1.0F ? static_cast<unsigned char>(std::nearbyint(x * 255.0F))
                    : static_cast<unsigned char>(255);
}
}  // namespace Math
