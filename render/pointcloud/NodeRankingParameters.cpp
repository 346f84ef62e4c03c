#include "render/pointcloud/NodeRankingParameters.h"

#include "math/transform.h"
#include "render/scene/Camera.h"

#include <Eigen/LU>

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

NodePriority NodeRankingParameters::rank(std::size_t level, const Math::NBoundingBox<float, 3>& box) const
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
}  // namespace Render
