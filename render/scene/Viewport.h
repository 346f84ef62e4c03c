#pragma once

#include "render/Export.h"

#include <cstdint>
#include <iosfwd>

struct ID3D11DeviceContext;

namespace Render
{
/// Position, size and depth range of the drawing area, in pixels.
///
/// Threads  a plain value.
class RENDER_API Viewport
{
public:
    /// 640 x 480 at the origin with the depth range 0..1.
    Viewport() = default;

    /// At the origin with the depth range 0..1.
    Viewport(std::uint64_t width, std::uint64_t height) noexcept : mWidth(width), mHeight(height) {}

    /// With the depth range 0..1.
    Viewport(std::int32_t x, std::int32_t y, std::uint64_t width, std::uint64_t height) noexcept
        : mX(x), mY(y), mWidth(width), mHeight(height)
    {
    }

    /// Sets position and size, not the depth range.
    void set(std::int32_t x, std::int32_t y, std::uint64_t width, std::uint64_t height) noexcept;

    /// Sets the size and moves the area to the origin; the depth range stays.
    void set(std::uint64_t width, std::uint64_t height) noexcept;

    /// The depths that near and far plane become.
    void setDepthRange(float min, float max) noexcept;

    /// Makes this the only viewport of the rasterizer stage. The depth range is cut to what Direct3D allows:
    /// both limits lie in 0..1 and the lower one not above the upper one.
    void set(ID3D11DeviceContext* context) const;

    /// Left border, pixels.
    std::int32_t x() const noexcept { return mX; }

    /// Upper border, pixels.
    std::int32_t y() const noexcept { return mY; }

    /// Pixels.
    std::uint64_t width() const noexcept { return mWidth; }

    /// Pixels.
    std::uint64_t height() const noexcept { return mHeight; }

    /// The depth that the nearest becomes.
    float minDepth() const noexcept { return mMinDepth; }

    /// The depth that the farthest becomes.
    float maxDepth() const noexcept { return mMaxDepth; }

    /// Width by height, divided in single precision; a height of 0 gives infinity or NaN.
    double aspectRatio() const noexcept;

    /// Compares position and size; the depth range takes no part, on purpose.
    friend bool operator==(const Viewport& a, const Viewport& b) noexcept
    {
        return a.mX == b.mX && a.mY == b.mY && a.mWidth == b.mWidth && a.mHeight == b.mHeight;
    }

private:
    std::int32_t mX = 0;
    std::int32_t mY = 0;
    std::uint64_t mWidth = 640;
    std::uint64_t mHeight = 480;
    float mMinDepth = 0.0F;
    float mMaxDepth = 1.0F;
};

/// Writes "[x, y, width, height, minDepth, maxDepth]".
RENDER_API std::ostream& operator<<(std::ostream& stream, const Viewport& viewport);
}  // namespace Render
