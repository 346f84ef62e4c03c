#pragma once

#include "samples/scene/Vector.h"

#include <cstdint>

namespace Samples
{
/// 0 <= result < 1, as good as random for each three integers.
double latticeValue(std::int64_t x, std::int64_t y, std::int64_t z) noexcept;

/// Smooth random values, -1 to 1, that vary over about one unit of length.
/// Source   value noise: D. S. Ebert et al., "Texturing and Modeling" (2003), chapter 2.
double smoothNoise(Vector position) noexcept;

/// Noise with finer and weaker noise on top, halving both per octave; -2 to 2, mostly within 1.
double fractalNoise(Vector position, int octaves) noexcept;
}  // namespace Samples
