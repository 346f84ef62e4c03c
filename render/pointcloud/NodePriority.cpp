#include "render/pointcloud/NodePriority.h"

#include "render/scene/Viewport.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace Render
{
namespace
{
struct BoundingSphere
{
    explicit BoundingSphere(const Math::NBoundingBox<float, 3>& box)
        : center(box.center()),
          radius(Eigen::Vector3f(box.size(0) / 2.0F, box.size(1) / 2.0F, box.size(2) / 2.0F).norm())
    {
    }

    float distanceTo(const Math::Point<float, 3>& point) const
    {
        return Eigen::Vector3f(center.x - point.x, center.y - point.y, center.z - point.z).norm();
    }

    Math::Point<float, 3> center;
    float radius;
};

/// The half-space's value at the box's corner that lies deepest inside it.
float deepestValue(const Math::HalfSpace<float, 3>& halfSpace, const Math::NBoundingBox<float, 3>& box)
{
    return halfSpace.evaluate(
        {halfSpace.a > 0.0F ? box.max().x : box.min().x,
         halfSpace.b > 0.0F ? box.max().y : box.min().y,
         halfSpace.c > 0.0F ? box.max().z : box.min().z}
    );
}

bool isVisible(
    const Math::NBoundingBox<float, 3>& box,
    const Math::Frustum<float>& frustum,
    const Math::ConvexPolytope<float, 3>& clippingVolume
)
{
    // a value that is not a number fails the clipping volume, but passes the frustum
    const auto clips = [&box](const auto& halfSpace) { return !(deepestValue(halfSpace, box) >= 0.0F); };
    const auto misses = [&box](const auto& halfSpace) { return deepestValue(halfSpace, box) < 0.0F; };
    const auto& clippingPlanes = clippingVolume.halfSpaces();
    return std::none_of(clippingPlanes.begin(), clippingPlanes.end(), clips) &&
           std::none_of(frustum.planes.begin(), frustum.planes.end(), misses);
}

/// keep() stays greater even where the eye is in the centre of the sphere.
float belowKeep(float priority)
{
    return std::min(priority, std::nextafter(std::numeric_limits<float>::max(), 0.0F));
}

Eigen::Vector2f projectedToPixels(
    const Eigen::Matrix4f& projection, const Math::Point<float, 3>& point, const Viewport& viewport
)
{
    const Eigen::Vector4f clip = projection * Eigen::Vector4f(point.x, point.y, point.z, 1.0F);
    return {
        (clip.x() / clip.w() + 1.0F) * static_cast<float>(viewport.width()) / 2.0F,
        (clip.y() / clip.w() + 1.0F) * static_cast<float>(viewport.height()) / 2.0F};
}
}  // namespace

NodePriority NodePriority::keep() noexcept
{
    return {std::numeric_limits<float>::max(), 0.0F};
}

NodePriority NodePriority::discard() noexcept
{
    return {0.0F, std::numeric_limits<float>::max()};
}

NodePriority NodePriority::perspective(
    const Math::NBoundingBox<float, 3>& box,
    const Math::Frustum<float>& frustum,
    const Math::ConvexPolytope<float, 3>& clippingVolume,
    const Math::Point<float, 3>& eye,
    float scale,
    const Viewport& viewport,
    float fovYRad,
    float threshold
)
{
    if (!isVisible(box, frustum, clippingVolume))
    {
        return discard();
    }

    const BoundingSphere sphere(box);
    const float distance = sphere.distanceTo(eye);
    const float halfHeight = static_cast<float>(viewport.height()) / 2.0F;
    const float priority =
        belowKeep(halfHeight / (std::tan(fovYRad / 2.0F) * distance) * sphere.radius * scale);
    return priority < threshold ? discard() : NodePriority{priority, distance};
}

NodePriority NodePriority::orthographic(
    const Math::NBoundingBox<float, 3>& box,
    const Math::Frustum<float>& frustum,
    const Math::ConvexPolytope<float, 3>& clippingVolume,
    const Math::Point<float, 3>& eye,
    float scale,
    const Eigen::Matrix4f& projection,
    const Viewport& viewport,
    float threshold
)
{
    if (!isVisible(box, frustum, clippingVolume))
    {
        return discard();
    }

    const BoundingSphere sphere(box);
    const Math::Point<float, 3> rim{
        sphere.center.x + sphere.radius * scale, sphere.center.y, sphere.center.z};
    const float priority = belowKeep((projectedToPixels(projection, rim, viewport) -
                                      projectedToPixels(projection, sphere.center, viewport))
                                         .norm());
    return priority < threshold ? discard() : NodePriority{priority, sphere.distanceTo(eye)};
}

bool NodePriority::operator==(const NodePriority& other) const noexcept
{
    return std::abs(mPriority - other.mPriority) < kTolerance && mDistanceToEye == other.mDistanceToEye;
}

bool NodePriority::operator<(const NodePriority& other) const noexcept
{
    if (other.mPriority - kTolerance > mPriority)
    {
        return true;
    }
    if (mPriority > other.mPriority + kTolerance)
    {
        return false;
    }
    return mDistanceToEye > other.mDistanceToEye;
}

bool NodePriority::operator<=(const NodePriority& other) const noexcept
{
    if (mPriority - kTolerance > other.mPriority)
    {
        return false;
    }
    if (other.mPriority > mPriority + kTolerance)
    {
        return true;
    }
    return !(other.mDistanceToEye > mDistanceToEye);
}

bool NodePriority::operator>(const NodePriority& other) const noexcept
{
    if (mPriority - kTolerance > other.mPriority)
    {
        return true;
    }
    if (other.mPriority > mPriority + kTolerance)
    {
        return false;
    }
    return other.mDistanceToEye > mDistanceToEye;
}

bool NodePriority::operator>=(const NodePriority& other) const noexcept
{
    if (other.mPriority - kTolerance > mPriority)
    {
        return false;
    }
    if (mPriority > other.mPriority + kTolerance)
    {
        return true;
    }
    return !(mDistanceToEye > other.mDistanceToEye);
}

NodePriority NodePriority::operator+(const NodePriority& other) const noexcept
{
    return {mPriority + other.mPriority, std::min(mDistanceToEye, other.mDistanceToEye)};
}

NodePriority& NodePriority::operator+=(const NodePriority& other) noexcept
{
    return *this = *this + other;
}
}  // namespace Render
