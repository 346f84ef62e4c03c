#pragma once

#include "math/ConvexPolytope.h"
#include "math/Frustum.h"
#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "render/Export.h"

#include <Eigen/Core>

namespace Render
{
class Viewport;

/// The rank of an octree node: its size on screen, then its nearness.
///
/// Priorities less than 0.1 apart count as equal, and the nearer node is then the greater. The order is
/// therefore not transitive, on purpose: heaps bear that, std::sort does not.
/// Threads  a plain value.
class RENDER_API NodePriority
{
public:
    /// Priorities closer than this, in pixels, count as equal: below it the eye sees no difference in size.
    static constexpr float kTolerance = 0.1F;

    /// Greater than any computed priority.
    static NodePriority keep() noexcept;

    /// The rank of a node that is not drawn: priority 0 at the largest distance.
    static NodePriority discard() noexcept;

    /// Ranks a box by the radius of its bounding sphere in pixels under a perspective.
    ///
    /// All coordinates are those of the model; `scale` is applied although the distance is in model units, on
    /// purpose.
    /// @param frustum         the box must meet it
    /// @param clippingVolume  the box must meet it as well; an empty one clips nothing
    /// @param scale           from model to world units
    /// @param threshold       smallest priority, in pixels, that is not discarded
    static NodePriority perspective(
        const Math::NBoundingBox<float, 3>& box,
        const Math::Frustum<float>& frustum,
        const Math::ConvexPolytope<float, 3>& clippingVolume,
        const Math::Point<float, 3>& eye,
        float scale,
        const Viewport& viewport,
        float fovYRad,
        float threshold
    );

    /// The same under a parallel projection.
    /// @param projection  the camera's projection matrix
    static NodePriority orthographic(
        const Math::NBoundingBox<float, 3>& box,
        const Math::Frustum<float>& frustum,
        const Math::ConvexPolytope<float, 3>& clippingVolume,
        const Math::Point<float, 3>& eye,
        float scale,
        const Eigen::Matrix4f& projection,
        const Viewport& viewport,
        float threshold
    );

    /// Projected size in pixels; larger is more valuable.
    float priority() const noexcept { return mPriority; }

    /// Distance from the eye to the centre of the bounding sphere, in model units.
    float distanceToEye() const noexcept { return mDistanceToEye; }

    /// By priority; where two differ by less than kTolerance, the one farther from the eye is the lesser.
    bool operator==(const NodePriority& other) const noexcept;
    bool operator<(const NodePriority& other) const noexcept;
    bool operator<=(const NodePriority& other) const noexcept;
    bool operator>(const NodePriority& other) const noexcept;
    bool operator>=(const NodePriority& other) const noexcept;

    /// The sum of the priorities at the smaller distance.
    NodePriority operator+(const NodePriority& other) const noexcept;
    NodePriority& operator+=(const NodePriority& other) noexcept;

private:
    NodePriority(float priority, float distanceToEye) noexcept
        : mPriority(priority), mDistanceToEye(distanceToEye)
    {
    }

    float mPriority;
    float mDistanceToEye;
};
}  // namespace Render
