#include "apps/cli/placeCamera.h"

#include "apps/cli/fitCamera.h"
#include <render/thumbnail/thumbnailEye.h>

#include <CLI/CLI.hpp>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace Cli
{
namespace
{
// From the north-east, looking down by about 38 degrees as thumbnails do: shows facades and roofs.
const Eigen::Vector3f kDefaultDirection(-0.6F, -0.5F, -0.62F);

// In data units, where there is no extent to fit them to; the far plane moves out for what is farther away.
constexpr float kNear = 0.1F;
constexpr float kFar = 2000.0F;

// A scene that is thinner than this part of its distance is flat: fitted planes would leave it no depth.
constexpr float kFlat = 1e-4F;

Eigen::Vector3f toVector(const Math::Point<float, 3>& point)
{
    return {point.x, point.y, point.z};
}

Math::Point<float, 3> toPoint(const Eigen::Vector3f& vector)
{
    return {vector.x(), vector.y(), vector.z()};
}

/// Panoramas have no extent: a scene of nothing else is seen from the centre of the first.
bool isInPanorama(const SeenScene& scene)
{
    return scene.box.isEmpty() && scene.firstPanorama;
}

/// What is to fill the picture.
const Math::NBoundingBox<float, 3>& filling(const CameraWish& wish, const SeenScene& scene)
{
    return wish.fit ? *wish.fit : scene.box;
}

Math::Point<float, 3> targetOf(const CameraWish& wish, const SeenScene& scene)
{
    if (wish.target)
    {
        return *wish.target;
    }
    if (isInPanorama(scene))
    {
        return toPoint(scene.firstPanorama->col(3).head<3>() + scene.firstPanorama->col(0).head<3>());
    }
    return filling(wish, scene).center();
}

Eigen::Vector3f directionOf(const CameraWish& wish, const SeenScene& scene)
{
    if (wish.eye)
    {
        return toVector(targetOf(wish, scene)) - toVector(*wish.eye);
    }
    if (wish.towardsEye)
    {
        return -*wish.towardsEye;
    }
    if (wish.isThumbnail && !scene.box.isEmpty())
    {
        return toVector(scene.box.center()) - toVector(Render::thumbnailEye(scene.box, scene.aspect));
    }
    if (isInPanorama(scene))
    {
        return toVector(targetOf(wish, scene)) - scene.firstPanorama->col(3).head<3>();
    }
    return kDefaultDirection;
}

void check(const CameraWish& wish, const Eigen::Vector3f& direction)
{
    if (direction.isZero(0.0F))
    {
        throw CLI::ValidationError(
            "--eye",
            "'" + wish.eyeText + "' is " +
                (wish.target ? "where --target is, '" + wish.targetText + "'"
                             : "the middle of the scene, which a camera without --target looks at")
        );
    }
    if (!(direction.stableNormalized().cross(wish.up.stableNormalized()).squaredNorm() > 0.0F))
    {
        throw CLI::ValidationError("--up", "'" + wish.upText + "' is zero or along the direction of view");
    }
}

Math::Point<float, 3> eyeOf(const CameraWish& wish, const SeenScene& scene, const Eigen::Vector3f& direction)
{
    if (wish.eye)
    {
        return *wish.eye;
    }
    if (isInPanorama(scene) && !wish.towardsEye)
    {
        return toPoint(scene.firstPanorama->col(3).head<3>());
    }
    if (wish.distance)
    {
        return toPoint(toVector(targetOf(wish, scene)) - direction.stableNormalized() * *wish.distance);
    }
    if (!wish.towardsEye && wish.isThumbnail && !scene.box.isEmpty())
    {
        return Render::thumbnailEye(scene.box, scene.aspect);
    }
    const Math::NBoundingBox<float, 3>& box = filling(wish, scene);
    const Math::Point<float, 3> fitted = fitCamera(box, direction, wish.up, wish.fovYRad, scene.aspect).eye;
    if (!wish.target)
    {
        return fitted;
    }
    const float distance = (toVector(fitted) - toVector(box.center())).norm();
    return toPoint(toVector(*wish.target) - direction.normalized() * distance);
}

void chooseZRange(CameraPlacement& placement, const CameraWish& wish, const SeenScene& scene)
{
    const Math::NBoundingBox<float, 3>& box = scene.box;
    const Eigen::Vector3f view = placement.direction.stableNormalized();
    const Eigen::Vector3f extent =
        box.isEmpty() ? Eigen::Vector3f(0.0F, 0.0F, 0.0F) : toVector(box.max()) - toVector(box.min());
    const Eigen::Vector3f toCenter =
        toVector(box.isEmpty() ? placement.eye : box.center()) - toVector(placement.eye);
    const float distance = toCenter.dot(view);
    const float reach = toCenter.norm() + extent.norm() / 2.0F;
    const bool isFlat = extent.dot(view.cwiseAbs()) < kFlat * reach;

    placement.fitsZRange = !box.isEmpty() && !isFlat && !scene.firstPanorama;
    const bool isFlatAlone = isFlat && !scene.firstPanorama && (distance > 0.0F || wish.isOrthographic);
    const float margin = std::max(std::abs(distance) / 2.0F, kFlat);
    placement.nearDistance = isFlatAlone ? distance - margin : kNear;
    placement.farDistance = isFlatAlone ? distance + margin : std::max(kFar, 2.0F * reach);
}
}  // namespace

CameraPlacement placeCamera(const CameraWish& wish, const SeenScene& scene)
{
    CameraPlacement placement;
    placement.direction = directionOf(wish, scene);
    check(wish, placement.direction);
    placement.eye = eyeOf(wish, scene, placement.direction);
    placement.up = wish.up;
    placement.targetDepth = (toVector(targetOf(wish, scene)) - toVector(placement.eye))
                                .dot(placement.direction.stableNormalized());
    placement.orthographicHeight =
        fitCamera(filling(wish, scene), placement.direction, wish.up, wish.fovYRad, scene.aspect)
            .orthographicHeight;
    chooseZRange(placement, wish, scene);
    return placement;
}
}  // namespace Cli
