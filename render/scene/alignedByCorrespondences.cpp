#include "render/scene/alignedByCorrespondences.h"

#include <Eigen/Geometry>

#include <cmath>
#include <numbers>

namespace Render
{
namespace
{
/// Angle of the horizontal part against the x axis, radians; 0 where there is no such part.
double bearing(const Eigen::Vector3f& direction)
{
    Eigen::Vector2f horizontal = direction.head<2>();
    if (const float length = horizontal.norm(); length > 0.0F)
    {
        horizontal /= length;
    }
    return std::atan2(static_cast<double>(horizontal.y()), static_cast<double>(horizontal.x()));
}

float turn(const Eigen::Vector3f& fromDirection, const Eigen::Vector3f& toDirection)
{
    constexpr double kPi = std::numbers::pi;
    double angle = bearing(toDirection) - bearing(fromDirection);
    if (angle > kPi)
    {
        angle -= 2.0 * kPi;
    }
    else if (angle < -kPi)
    {
        angle += 2.0 * kPi;
    }
    return static_cast<float>(angle);
}

Eigen::Vector3f toVector(const Math::Point<float, 3>& point)
{
    return {point.x, point.y, point.z};
}
}  // namespace

Eigen::Matrix4f alignedByCorrespondences(
    const Eigen::Matrix4f& matrix,
    const Math::Point<float, 3>& from,
    const Math::Point<float, 3>& to,
    const Eigen::Vector3f& fromDirection,
    const Eigen::Vector3f& toDirection
)
{
    const Eigen::Matrix3f linear = matrix.topLeftCorner<3, 3>();
    Eigen::Vector3f scale = linear.colwise().norm();
    if (linear.determinant() < 0.0F)
    {
        scale.x() = -scale.x();  // a mirrored transform: what is left is then a rotation
    }
    const Eigen::Matrix3f unscaled = linear * scale.cwiseInverse().asDiagonal();
    const Eigen::Quaternionf rotation(unscaled);

    const Eigen::Quaternionf turned(
        Eigen::AngleAxisf(turn(fromDirection, toDirection), Eigen::Vector3f::UnitZ())
    );
    Eigen::Quaternionf newRotation = turned * rotation;
    if (newRotation.norm() > 0.0F)
    {
        newRotation.normalize();
    }
    const Eigen::Vector3f pivot = toVector(from);
    const Eigen::Vector3f translation =
        turned * (Eigen::Vector3f(matrix.topRightCorner<3, 1>()) - pivot) + pivot + (toVector(to) - pivot);

    Eigen::Matrix4f result = Eigen::Matrix4f::Identity();
    result.topLeftCorner<3, 3>() = newRotation.toRotationMatrix() * scale.asDiagonal();
    result.topRightCorner<3, 1>() = translation;
    return result;
}
}  // namespace Render
