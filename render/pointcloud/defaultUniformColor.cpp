#include "render/pointcloud/defaultUniformColor.h"

#include <cstdint>
#include <random>

namespace Render
{
Math::Color defaultUniformColor(std::size_t locationHash) noexcept
{
    // The standard fixes what the twister yields but not what its distributions make of it. The upper 24 bits
    // are as many as a float can hold, so the hue stays below 360.
    std::mt19937 twister(static_cast<std::uint32_t>(locationHash));
    const auto upperBits = static_cast<std::uint32_t>(twister()) >> 8U;
    const float hueDeg = static_cast<float>(upperBits) * (360.0F / 16777216.0F);
    return Math::Color::fromHsv(hueDeg, 1.0F, 1.0F, 1.0F);
}
}  // namespace Render
