#pragma once

#include "samples/scene/Vector.h"

#include <cmath>
#include <numbers>

namespace Samples
{
// Mathematics libraries differ in the last digits of sine, cosine and the like. These are built from the
// exactly rounded operations alone, so a scene is the same everywhere.

/// Sine of an angle in radians, to about 1e-7.
constexpr double portableSin(double angle) noexcept
{
    const double turns = angle / (2.0 * std::numbers::pi);
    double part = turns - static_cast<double>(static_cast<long long>(turns));  // -1 to 1
    part = part > 0.5 ? part - 1.0 : (part < -0.5 ? part + 1.0 : part);
    part = part > 0.25 ? 0.5 - part : (part < -0.25 ? -0.5 - part : part);
    const double x = part * 2.0 * std::numbers::pi;  // -pi/2 to pi/2
    const double s = x * x;
    return x *
           (1.0 + s * (-1.0 / 6 + s * (1.0 / 120 + s * (-1.0 / 5040 + s * (1.0 / 362880 - s / 39916800)))));
}

constexpr double portableCos(double angle) noexcept
{
    return portableSin(angle + std::numbers::pi / 2);
}

/// The direction in the ground plane at an angle from east towards north.
constexpr Vector heading(double angle) noexcept
{
    return {portableCos(angle), portableSin(angle), 0};
}

/// 0 up to `low`, 1 from `high`, smooth between; falls instead when low is above high.
constexpr double smoothStep(double low, double high, double value) noexcept
{
    double t = (value - low) / (high - low);
    t = t < 0.0 ? 0.0 : (t > 1.0 ? 1.0 : t);
    return t * t * (3.0 - 2.0 * t);
}

constexpr double mix(double a, double b, double t) noexcept
{
    return a + (b - a) * t;
}
}  // namespace Samples
