#pragma once

#include "math/Color.h"
#include "math/Export.h"

namespace Math
{
/// What a spectrum does with values outside its range.
namespace Boundary
{
/// Values below the range count as its minimum, values above as its maximum; NaN counts as the minimum.
struct MATH_API ClampToBorder
{
    /// The value within 0..1 that counts.
    static float apply(float x) noexcept;
};

/// Values wrap around: 1.25 is 0.25, -0.25 is 0.75; NaN and infinities count as 0.
struct MATH_API Repeat
{
    /// The value within 0..1 that counts.
    static float apply(float x) noexcept;
};
}  // namespace Boundary

/// Colour maps over x in [0, 1] with opaque colours; each maps the unit interval with the formulas that the
/// shaders use, so that CPU and GPU colours agree within rounding. Callers bring x into the interval with a
/// Boundary.
namespace Spectrum
{
#define TARNEL_SPECTRUM(Name)                              \
    struct MATH_API Name                                   \
    {                                                      \
        /* Colour at x in [0, 1]; values outside clamp. */ \
        static Color color(float x) noexcept;              \
    }

TARNEL_SPECTRUM(Turbo);
TARNEL_SPECTRUM(Inferno);
TARNEL_SPECTRUM(Magma);
TARNEL_SPECTRUM(Viridis);
TARNEL_SPECTRUM(Plasma);
TARNEL_SPECTRUM(Gray);
TARNEL_SPECTRUM(Bone);
TARNEL_SPECTRUM(BlueWhiteRed);
TARNEL_SPECTRUM(LevelOfAccuracy);

#undef TARNEL_SPECTRUM
}  // namespace Spectrum
}  // namespace Math
