#include "render/thumbnail/thumbnailEye.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Render
{
namespace
{
constexpr float kRaise = 0.3F;   // of the largest side: looks down at flat scenes as well
constexpr float kMargin = 1.1F;  // leaves a border around the box, which splats at its corners need

Eigen::Vector3f toVector(const Math::Point<float, 3>& point)
{
    return {point.x, point.y, point.z};
}

/// Distance from the origin, along `towardsEye`, from which the point just lies inside the picture.
float fittingDistance(
    const Eigen::Vector3f& point, const Eigen::Vector3f& towardsEye, float tanHalfFovX, float tanHalfFovY
)
{
    const Eigen::Vector3f right = Eigen::Vector3f::UnitZ().cross(towardsEye).normalized();
    const Eigen::Vector3f up = towardsEye.cross(right);
    const float towards = point.dot(towardsEye);
    return towards +
           std::max(std::abs(point.dot(right)) / tanHalfFovX, std::abs(point.dot(up)) / tanHalfFovY);
}
}  // namespace

Math::Point<float, 3> thumbnailEye(const Math::NBoundingBox<float, 3>& box, float aspectRatio)
{
    const Math::Point<float, 3> center = box.center();
    const float largestSide = box.largestSize();
    if (!(largestSide > 0.0F))
    {
        const Eigen::Vector3f eye = toVector(center) + Eigen::Vector3f::Ones().normalized();
        return {eye.x(), eye.y(), eye.z()};
    }

    Math::Point<float, 3> corner = box.max();
    corner.z += kRaise * largestSide;
    const Eigen::Vector3f towardsEye = (toVector(corner) - toVector(center)).normalized();

    const float tanHalfFovY = std::tan(kThumbnailFovYDeg * std::numbers::pi_v<float> / 360.0F);
    const float tanHalfFovX = tanHalfFovY * aspectRatio;
    float distance = 0.0F;
    for (std::size_t i = 0; i < 8; ++i)
    {
        const Eigen::Vector3f offset = toVector(box.corner(i)) - toVector(center);
        distance = std::max(distance, fittingDistance(offset, towardsEye, tanHalfFovX, tanHalfFovY));
    }
    const Eigen::Vector3f eye = toVector(center) + kMargin * distance * towardsEye;
    return {eye.x(), eye.y(), eye.z()};
}
}  // namespace Render
