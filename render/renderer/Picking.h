#pragma once

#include "math/NPlane.h"
#include "math/Point.h"
#include "render/Render.h"

#include <cstdint>

namespace Render
{
class Frame;
class ReadBack;

/// Finds what the last frame shows at a pixel, from the exact world positions that it left behind.
///
/// Each question copies and maps the whole target once. Lives for one question: it borrows all that it is
/// made from.
/// Threads  rendering thread only, not locked.
class Picking
{
public:
    Picking(
        ID3D11DeviceContext* context, const Camera& camera, const Frame& frame, ReadBack& readBack
    ) noexcept;

    /// @param point  gets what the pixel holds, hit or not, unless the pixel lies outside
    /// @throws ComException  when the target cannot be mapped
    bool pickPoint(std::uint64_t x, std::uint64_t y, Math::Point<float, 3>& point) const;

    /// Takes the hit nearest to the camera, not to the pixel.
    /// @param point  gets the hit, if there is one
    /// @throws ComException  when the target cannot be mapped
    bool pickClosestPointWithTolerance(
        std::uint64_t x, std::uint64_t y, std::uint64_t tolerance, Math::Point<float, 3>& point
    ) const;

    /// @param plane  gets the plane when there is one, facing the camera, even if the ray misses it
    /// @param point  gets where the ray through the pixel meets the plane
    /// @throws ComException  when the target cannot be mapped
    bool pickPlane(
        std::uint64_t x,
        std::uint64_t y,
        std::uint64_t tolerance,
        Math::NPlane<float, 3>& plane,
        Math::Point<float, 3>& point,
        double threshold
    ) const;

private:
    ID3D11DeviceContext* mContext;
    const Camera& mCamera;
    const Frame& mFrame;
    ReadBack& mReadBack;
};
}  // namespace Render
