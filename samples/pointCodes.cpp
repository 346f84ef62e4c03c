#include "samples/pointCodes.h"

#include <cmath>

namespace Samples
{
namespace
{
/// Moves bit i of the lower 16 bits to bit 3 i.
constexpr std::uint64_t spread(std::uint64_t value) noexcept
{
    value &= 0xffffU;
    value = (value | value << 16U) & 0x001f'0000'ff00'00ffU;
    value = (value | value << 8U) & 0x100f'00f0'0f00'f00fU;
    value = (value | value << 4U) & 0x10c3'0c30'c30c'30c3U;
    value = (value | value << 2U) & 0x1249'2492'4924'9249U;
    return value;
}

constexpr std::uint64_t interleave(std::uint64_t a, std::uint64_t b, std::uint64_t c) noexcept
{
    return spread(a) | spread(b) << 1U | spread(c) << 2U;
}

/// -1 to 1 over 0 to 255.
std::uint32_t toByte(float value) noexcept
{
    return static_cast<std::uint32_t>(std::floor((value + 1.0F) * 127.5F + 0.5F));
}
}  // namespace

PositionCode positionCode(std::uint32_t x, std::uint32_t y, std::uint32_t z) noexcept
{
    return {interleave(x >> 16U, y >> 16U, z >> 16U), interleave(x, y, z)};
}

std::uint64_t colorCode(std::uint16_t r, std::uint16_t g, std::uint16_t b) noexcept
{
    return interleave(r, g, b);
}

std::uint16_t octahedralNormal(float x, float y, float z) noexcept
{
    const float sum = std::abs(x) + std::abs(y) + std::abs(z);
    if (!(sum > 0.0F))
    {
        return octahedralNormal(0.0F, 0.0F, 1.0F);
    }
    float u = x / sum;
    float v = y / sum;
    if (z < 0.0F)  // the lower half is folded over the diagonals of the upper half's square
    {
        const float folded = (1.0F - std::abs(v)) * (u < 0.0F ? -1.0F : 1.0F);
        v = (1.0F - std::abs(u)) * (v < 0.0F ? -1.0F : 1.0F);
        u = folded;
    }
    return static_cast<std::uint16_t>(toByte(u) << 8U | toByte(v));
}
}  // namespace Samples
