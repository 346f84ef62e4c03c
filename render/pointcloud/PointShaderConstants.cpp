#include "render/pointcloud/PointShaderConstants.h"

#include <Eigen/LU>

namespace Render
{
void setTransforms(
    PerFrameConstants& constants,
    const Eigen::Matrix4f& model,
    const Eigen::Matrix4f& view,
    const Eigen::Matrix4f& projection
) noexcept
{
    const Eigen::Matrix4d modelMatrix = model.cast<double>();
    const Eigen::Matrix4d viewProjection = projection.cast<double>() * view.cast<double>();
    const Eigen::Matrix4d modelViewProjection = viewProjection * modelMatrix;
    const auto rounded = [](const Eigen::Matrix4d& matrix) { return toShaderMatrix(matrix.cast<float>()); };

    constants.model = toShaderMatrix(model);
    constants.inv_model = rounded(modelMatrix.inverse());
    constants.view = toShaderMatrix(view);
    constants.proj = toShaderMatrix(projection);
    constants.model_view_proj = rounded(modelViewProjection);
    constants.inv_model_view_proj = rounded(modelViewProjection.inverse());
    constants.inv_view_proj = rounded(viewProjection.inverse());
    constants.model_scale = model.topLeftCorner<3, 1>().norm();
}
}  // namespace Render
