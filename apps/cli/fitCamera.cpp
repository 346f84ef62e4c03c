#include "apps/cli/fitCamera.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Cli
{
namespace
{
constexpr float kMargin = 0.96F;  // of the picture is used, so that the outermost points keep off its border

/// What the corners say about one axis of the picture.
struct Extent
{
    float tangent;  // of half the field of view
    float towardsMax = std::numeric_limits<float>::lowest();
    float towardsMin = std::numeric_limits<float>::lowest();
    float min = std::numeric_limits<float>::max();
    float max = std::numeric_limits<float>::lowest();

    void add(float across, float depth)
    {
        towardsMax = std::max(towardsMax, across - tangent * depth);
        towardsMin = std::max(towardsMin, -across - tangent * depth);
        min = std::min(min, across);
        max = std::max(max, across);
    }

    float eyeAcross() const { return (towardsMax - towardsMin) / 2.0F; }

    /// The eye must not be farther along the direction than this.
    float mostForward() const { return -(towardsMax + towardsMin) / (2.0F * tangent); }
};
}  // namespace

FittedView fitCamera(
    const Math::NBoundingBox<float, 3>& box,
    const Eigen::Vector3f& direction,
    const Eigen::Vector3f& up,
    float fovYRad,
    float aspect
)
{
    const Math::NBoundingBox<float, 3> target =
        box.isEmpty() ? Math::NBoundingBox<float, 3>({-0.5F, -0.5F, -0.5F}, {0.5F, 0.5F, 0.5F}) : box;
    const Eigen::Vector3f forward = direction.normalized();
    const Eigen::Vector3f right = forward.cross(up).normalized();
    const Eigen::Vector3f upward = right.cross(forward);
    const Math::Point<float, 3> center = target.center();
    const Eigen::Vector3f middle(center.x, center.y, center.z);

    Extent horizontal{std::tan(fovYRad / 2.0F) * aspect * kMargin};
    Extent vertical{std::tan(fovYRad / 2.0F) * kMargin};
    for (std::size_t i = 0; i < 8; ++i)
    {
        const Math::Point<float, 3> point = target.corner(i);
        const Eigen::Vector3f corner = Eigen::Vector3f(point.x, point.y, point.z) - middle;
        horizontal.add(corner.dot(right), corner.dot(forward));
        vertical.add(corner.dot(upward), corner.dot(forward));
    }
    const float forwardShift = std::min(horizontal.mostForward(), vertical.mostForward());
    const float height = std::max(vertical.max - vertical.min, (horizontal.max - horizontal.min) / aspect);
    if (!(height > 0.0F))
    {
        const Eigen::Vector3f eye = middle - forward;  // a single point: any distance shows it
        return {{eye.x(), eye.y(), eye.z()}, 1.0F};
    }
    const Eigen::Vector3f eye =
        middle + forward * forwardShift + right * horizontal.eyeAcross() + upward * vertical.eyeAcross();
    return {{eye.x(), eye.y(), eye.z()}, height / kMargin};
}
}  // namespace Cli
