#pragma once

#include <compare>
#include <cstdint>

namespace Samples
{
/// The place of a stored point in its node's Morton order, and the 16 bytes that the Brotli encoding stores
/// for it: first `upper`, then `lower`.
struct PositionCode
{
    std::uint64_t upper = 0;  ///< bits 16 to 31 of the three integers, x in the lowest bit
    std::uint64_t lower = 0;  ///< bits 0 to 15

    friend bool operator==(const PositionCode&, const PositionCode&) = default;
    friend auto operator<=>(const PositionCode&, const PositionCode&) = default;
};

PositionCode positionCode(std::uint32_t x, std::uint32_t y, std::uint32_t z) noexcept;

/// The 8 bytes that the Brotli encoding stores for a colour, red in the lowest bit.
std::uint64_t colorCode(std::uint16_t r, std::uint16_t g, std::uint16_t b) noexcept;

/// A normal in 16 bits: octahedral coordinates, high byte x, low byte y, each -1 to 1 over 0 to 255.
/// Source   Z. H. Cigolle et al., "A Survey of Efficient Representations for Independent Unit Vectors"
///          (2014).
std::uint16_t octahedralNormal(float x, float y, float z) noexcept;
}  // namespace Samples
