#pragma once

#include "math/Export.h"

#include <cstdint>

namespace Math
{
/// A colour of four 8-bit channels, in memory blue, green, red, alpha, as DXGI_FORMAT_B8G8R8A8_UNORM reads
/// it.
///
/// The packed form is the four bytes read as a little-endian number: 0xAARRGGBB.
/// Threads  a plain value.
class MATH_API Color
{
public:
    /// Transparent black, all bytes 0.
    constexpr Color() noexcept = default;

    /// From the packed form 0xAARRGGBB.
    constexpr explicit Color(unsigned int packed) noexcept
        : mBlue(static_cast<unsigned char>(packed & 0xFFU)),
          mGreen(static_cast<unsigned char>((packed >> 8U) & 0xFFU)),
          mRed(static_cast<unsigned char>((packed >> 16U) & 0xFFU)),
          mAlpha(static_cast<unsigned char>((packed >> 24U) & 0xFFU))
    {
    }

    /// Of red, green, blue and alpha.
    constexpr Color(unsigned char r, unsigned char g, unsigned char b, unsigned char a) noexcept
        : mBlue(b), mGreen(g), mRed(r), mAlpha(a)
    {
    }

    /// From hue in degrees (any value, wrapped to 0..360), saturation, value and alpha in 0..1 (clamped);
    /// channels are rounded to the nearest byte. A NaN counts as 0.
    /// Source  A. R. Smith, "Color Gamut Transform Pairs", SIGGRAPH 1978.
    static Color fromHsv(float hueDeg, float saturation, float value, float alpha) noexcept;

    /// White with the given alpha.
    static constexpr Color white(unsigned char alpha) noexcept { return Color(255, 255, 255, alpha); }

    /// Replaces all four channels.
    constexpr void set(unsigned char r, unsigned char g, unsigned char b, unsigned char a) noexcept
    {
        mBlue = b;
        mGreen = g;
        mRed = r;
        mAlpha = a;
    }

    /// The red channel.
    constexpr unsigned char r() const noexcept { return mRed; }

    /// The green channel.
    constexpr unsigned char g() const noexcept { return mGreen; }

    /// The blue channel.
    constexpr unsigned char b() const noexcept { return mBlue; }

    /// Opacity; 255 is opaque.
    constexpr unsigned char a() const noexcept { return mAlpha; }

    /// The packed form 0xAARRGGBB.
    constexpr unsigned int packed() const noexcept
    {
        return static_cast<unsigned int>(mBlue) | (static_cast<unsigned int>(mGreen) << 8U) |
               (static_cast<unsigned int>(mRed) << 16U) | (static_cast<unsigned int>(mAlpha) << 24U);
    }

    friend constexpr bool operator==(const Color&, const Color&) = default;

private:
    unsigned char mBlue = 0;
    unsigned char mGreen = 0;
    unsigned char mRed = 0;
    unsigned char mAlpha = 0;
};

static_assert(sizeof(Color) == 4);
}  // namespace Math
