#include "render/thumbnail/thumbnailEye.h"

#include "render/scene/BoxInView.h"

#include <Eigen/Geometry>

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
    const BoxInView view(
        box, -towardsEye, Eigen::Vector3f::UnitZ(), Eigen::Vector2f(tanHalfFovY * aspectRatio, tanHalfFovY)
    );
    const Eigen::Vector3f eye = toVector(center) + kMargin * view.distance() * towardsEye;
    return {eye.x(), eye.y(), eye.z()};
}
}  // namespace Render
