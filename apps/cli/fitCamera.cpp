#include "apps/cli/fitCamera.h"

#include <render/scene/BoxInView.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace Cli
{
namespace
{
constexpr float kMargin = 0.96F;  // of the picture is used, so that the outermost points keep off its border
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
    const float tangent = std::tan(fovYRad / 2.0F);
    const Render::BoxInView view(
        target, forward, up, Eigen::Vector2f(tangent * aspect * kMargin, tangent * kMargin)
    );
    const float height = std::max(view.size().y(), view.size().x() / aspect);
    if (!(height > 0.0F))
    {
        const Math::Point<float, 3> center = target.center();
        const Eigen::Vector3f eye =
            Eigen::Vector3f(center.x, center.y, center.z) - forward;  // a single point: any distance shows it
        return {{eye.x(), eye.y(), eye.z()}, 1.0F};
    }
    return {view.eye(), height / kMargin};
}
}  // namespace Cli
