#pragma once

#include <cstdint>

namespace Octree
{
/// Intensities as they become 8 bits: those up to `darkest` 0, those from `brightest` on 255, and those between
/// in equal steps 1 to 254. So what lies strictly between the two can be told from the rest whatever their
/// distance.
struct IntensityRange
{
    std::int32_t darkest = 0;      ///< -1 to 65535
    std::int32_t brightest = 255;  ///< above darkest, up to 65536

    /// What an intensity becomes.
    constexpr std::uint8_t toByte(std::uint16_t intensity) const noexcept
    {
        const std::int32_t value = intensity;
        if (value <= darkest)
        {
            return 0;
        }
        if (value >= brightest)
        {
            return 255;
        }
        return static_cast<std::uint8_t>(1 + (value - darkest - 1) * 254 / (brightest - darkest - 1));
    }

    friend constexpr bool operator==(const IntensityRange&, const IntensityRange&) = default;
};

/// Whether the two limits are possible ones.
constexpr bool isPossible(const IntensityRange& range) noexcept
{
    return range.darkest >= -1 && range.brightest <= 65536 && range.darkest < range.brightest;
}
}  // namespace Octree
