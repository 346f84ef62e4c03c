#include "render/scene/BoxInView.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Render
{
namespace
{
Eigen::Vector3f toVector(const Math::Point<float, 3>& point)
{
    return {point.x, point.y, point.z};
}
}  // namespace

BoxInView::Axis::Axis(const Eigen::Vector3f& axis, float tangentOfHalf)
    : direction(axis),
      tangent(tangentOfHalf),
      towardsMax(std::numeric_limits<float>::lowest()),
      towardsMin(std::numeric_limits<float>::lowest()),
      min(std::numeric_limits<float>::max()),
      max(std::numeric_limits<float>::lowest())
{
}

void BoxInView::Axis::add(const Eigen::Vector3f& corner, float depth)
{
    const float across = corner.dot(direction);
    towardsMax = std::max(towardsMax, across - tangent * depth);
    towardsMin = std::max(towardsMin, -across - tangent * depth);
    min = std::min(min, across);
    max = std::max(max, across);
    distance = std::max(distance, std::abs(across) / tangent - depth);
}

float BoxInView::Axis::eyeAcross() const
{
    return (towardsMax - towardsMin) / 2.0F;
}

/// The eye must not be farther along the direction than this.
float BoxInView::Axis::mostForward() const
{
    return -(towardsMax + towardsMin) / (2.0F * tangent);
}

BoxInView::BoxInView(
    const Math::NBoundingBox<float, 3>& box,
    const Eigen::Vector3f& direction,
    const Eigen::Vector3f& up,
    const Eigen::Vector2f& tangents
)
    : mDirection(direction),
      mCenter(toVector(box.center())),
      mAcross(direction.cross(up).normalized(), tangents.x()),
      mUpwards(mAcross.direction.cross(direction), tangents.y())
{
    for (std::size_t i = 0; i < 8; ++i)
    {
        const Eigen::Vector3f corner = toVector(box.corner(i)) - mCenter;
        const float depth = corner.dot(mDirection);
        mAcross.add(corner, depth);
        mUpwards.add(corner, depth);
    }
}

Math::Point<float, 3> BoxInView::eye() const
{
    const float forward = std::min(mAcross.mostForward(), mUpwards.mostForward());
    const Eigen::Vector3f eye = mCenter + mDirection * forward + mAcross.direction * mAcross.eyeAcross() +
                                mUpwards.direction * mUpwards.eyeAcross();
    return {eye.x(), eye.y(), eye.z()};
}

float BoxInView::distance() const
{
    return std::max(mAcross.distance, mUpwards.distance);
}

Eigen::Vector2f BoxInView::size() const
{
    return {mAcross.max - mAcross.min, mUpwards.max - mUpwards.min};
}
}  // namespace Render
