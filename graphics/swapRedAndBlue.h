#pragma once

#include "math/Color.h"

#include <cstddef>

namespace Graphics
{
/// From red, green, blue, alpha to blue, green, red, alpha or back; source and target may be the same.
inline void swapRedAndBlue(const std::byte* source, std::byte* target, std::size_t pixelCount) noexcept
{
    constexpr std::size_t kPixelSize = sizeof(Math::Color);
    for (std::size_t i = 0; i < pixelCount; ++i, source += kPixelSize, target += kPixelSize)
    {
        const std::byte first = source[0];
        target[0] = source[2];
        target[1] = source[1];
        target[2] = first;
        target[3] = source[3];
    }
}
}  // namespace Graphics
