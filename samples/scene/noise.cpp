#include "samples/scene/noise.h"

#include "samples/Random.h"
#include "samples/scene/portableMath.h"

#include <cmath>

namespace Samples
{
double latticeValue(std::int64_t x, std::int64_t y, std::int64_t z) noexcept
{
    const std::uint64_t key = static_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15U +
                              static_cast<std::uint64_t>(y) * 0xc2b2ae3d27d4eb4fU +
                              static_cast<std::uint64_t>(z) * 0x165667b19e3779f9U;
    return static_cast<double>(scrambled(key) >> 11U) * 0x1p-53;
}

double smoothNoise(Vector position) noexcept
{
    const double fx = std::floor(position.x);
    const double fy = std::floor(position.y);
    const double fz = std::floor(position.z);
    const auto x = static_cast<std::int64_t>(fx);
    const auto y = static_cast<std::int64_t>(fy);
    const auto z = static_cast<std::int64_t>(fz);
    const double tx = smoothStep(0, 1, position.x - fx);
    const double ty = smoothStep(0, 1, position.y - fy);
    const double tz = smoothStep(0, 1, position.z - fz);
    const auto alongX = [&](std::int64_t j, std::int64_t k)
    { return mix(latticeValue(x, j, k), latticeValue(x + 1, j, k), tx); };
    const double low = mix(alongX(y, z), alongX(y + 1, z), ty);
    const double high = mix(alongX(y, z + 1), alongX(y + 1, z + 1), ty);
    return 2.0 * mix(low, high, tz) - 1.0;
}

double fractalNoise(Vector position, int octaves) noexcept
{
    double sum = 0;
    double weight = 1;
    for (int octave = 0; octave < octaves; ++octave)
    {
        sum += weight * smoothNoise(position);
        weight *= 0.5;
        position = position * 2.0 + Vector{17.3, 9.1, 4.7};
    }
    return sum;
}
}  // namespace Samples
