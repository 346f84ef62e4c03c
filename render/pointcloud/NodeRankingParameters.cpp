#include "render/pointcloud/NodeRankingParameters.h"

#include "math/transform.h"
#include "render/scene/Camera.h"

#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Render
{
void NodeRankingParameters::setCamera(const Camera& camera, const Eigen::Matrix4f& model)
{
    const Eigen::Matrix4f inverseModel = model.inverse();
    isPerspective = camera.isPerspective();
    fovYRad = camera.fovYRad();
    projection = camera.projectionMatrix();
    viewport = camera.viewport();
    eye = Math::transformed(camera.eye(), inverseModel);
    loadingFrustum = camera.scaledFrustum(kLoadingFrustumScale, kLoadingFrustumScale, 1.0F, model);
    modelScale = model.topLeftCorner<3, 1>().norm();
}

NodePriority NodeRankingParameters::rank(std::uint64_t level, const Math::NBoundingBox<float, 3>& box) const
{
    if (level > maxLevelToKeep)
    {
        return NodePriority::discard();
    }
    if (level < minLevelToKeep)
    {
        return NodePriority::keep();
    }
    if (isPerspective)
    {
        return NodePriority::perspective(
            box,
            loadingFrustum,
            clippingVolume,
            eye,
            modelScale,
            viewport,
            fovYRad,
            octreeNodePriorityThreshold
        );
    }
    return NodePriority::orthographic(
        box,
        loadingFrustum,
        clippingVolume,
        eye,
        modelScale,
        projection,
        viewport,
        octreeNodePriorityThreshold
    );
}

float NodeRankingParameters::mostOfChildren(
    std::uint64_t level, const Math::NBoundingBox<float, 3>& box, unsigned childMask
) const
{
    constexpr float kUnknown = std::numeric_limits<float>::infinity();
    constexpr float kRounding = 1.001F;  // more than what roundings add up to with the limits below
    constexpr float kTooSmall = 1e-3F;   // of the coordinates: rounded too much for that
    constexpr float kTooNear = 1.0F;     // radii from the eye
    if (level > maxLevelToKeep)
    {
        return 0.0F;
    }
    if (level < minLevelToKeep)
    {
        return kUnknown;
    }
    const Eigen::Vector3f min(box.min().x, box.min().y, box.min().z);
    const Eigen::Vector3f max(box.max().x, box.max().y, box.max().z);
    const Eigen::Vector3f quarter = max / 4.0F - min / 4.0F;
    const float childRadius = quarter.norm();
    const float largestCoordinate = min.cwiseAbs().cwiseMax(max.cwiseAbs()).maxCoeff();
    if (!(childRadius > kTooSmall * largestCoordinate))
    {
        return kUnknown;
    }
    const float largestRadius = childRadius * modelScale * kRounding;
    if (!isPerspective)
    {
        // A step in x is equally long everywhere, unless the projection divides by more than a constant.
        if (projection.row(3).head<3>() != Eigen::RowVector3f::Zero())
        {
            return kUnknown;
        }
        const Eigen::Vector2f step(
            projection(0, 0) * static_cast<float>(viewport.width()),
            projection(1, 0) * static_cast<float>(viewport.height())
        );
        return step.norm() / 2.0F / std::abs(projection(3, 3)) * largestRadius;
    }
    const Eigen::Vector3f toEye = Eigen::Vector3f(eye.x, eye.y, eye.z) - (min / 2.0F + max / 2.0F);
    float leastSquare = kUnknown;
    for (unsigned i = 0; i < 8; ++i)
    {
        if (((childMask >> i) & 1U) != 0)
        {
            const Eigen::Vector3f upper(
                (i & 4U) != 0 ? 1.0F : -1.0F, (i & 2U) != 0 ? 1.0F : -1.0F, (i & 1U) != 0 ? 1.0F : -1.0F
            );
            leastSquare = std::min(leastSquare, (toEye - upper.cwiseProduct(quarter)).squaredNorm());
        }
    }
    const float leastDistance = std::sqrt(leastSquare);
    const float slope = std::tan(fovYRad / 2.0F);
    return leastDistance > kTooNear * childRadius && slope > 0.0F
               ? static_cast<float>(viewport.height()) / 2.0F / (slope * leastDistance) * largestRadius
               : kUnknown;
}
}  // namespace Render
