#include "math/Color.h"

#include "math/unitToByte.h"

#include <cmath>

namespace Math
{
namespace
{
constexpr float kFullTurn = 360.0F;    // degrees
constexpr float kSectorAngle = 60.0F;  // degrees from one pure colour to the next mixed one

/// 0 for NaN.
float clampedToUnit(float x) noexcept
{
    return x > 0.0F ? (x < 1.0F ? x : 1.0F) : 0.0F;
}

/// Into [0, 360); NaN and infinities give 0.
float wrappedHue(float hueDeg) noexcept
{
    if (!std::isfinite(hueDeg))
    {
        return 0.0F;
    }
    const float remainder = std::fmod(hueDeg, kFullTurn);
    const float wrapped = remainder < 0.0F ? remainder + kFullTurn : remainder;
    return wrapped < kFullTurn ? wrapped : 0.0F;  // a tiny negative angle rounds up to the full turn
}
}  // namespace

Color Color::fromHsv(float hueDeg, float saturation, float value, float alpha) noexcept
{
    const float s = clampedToUnit(saturation);
    const float v = clampedToUnit(value);
    const float position = wrappedHue(hueDeg) / kSectorAngle;
    const float sector = std::floor(position);
    const float fraction = position - sector;

    const unsigned char high = unitToByte(v);
    const unsigned char low = unitToByte(v * (1.0F - s));
    const unsigned char falling = unitToByte(v * (1.0F - s * fraction));
    const unsigned char rising = unitToByte(v * (1.0F - s * (1.0F - fraction)));
    const unsigned char a = unitToByte(alpha);
    switch (static_cast<int>(sector))
    {
        case 0:
            return {high, rising, low, a};
        case 1:
            return {falling, high, low, a};
        case 2:
            return {low, high, rising, a};
        case 3:
            return {low, falling, high, a};
        case 4:
            return {rising, low, high, a};
        default:
            return {high, low, falling, a};
    }
}
}  // namespace Math
