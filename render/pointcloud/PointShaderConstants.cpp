#include "render/pointcloud/PointShaderConstants.h"

#include <Eigen/LU>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace Render
{
ShaderMatrix toShaderMatrix(const Eigen::Matrix4f& matrix) noexcept
{
    static_assert(!Eigen::Matrix4f::IsRowMajor);
    ShaderMatrix result;
    std::copy_n(matrix.data(), result.size(), result.begin());
    return result;
}

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

void setClippingPlanes(PerFrameConstants& constants, const Math::ConvexPolytope<float, 3>& volume)
{
    if (volume.size() > PerFrameConstants::kPlaneCount)
    {
        throw std::runtime_error(
            "Error: volume contains too many clipping planes, plane count = " + std::to_string(volume.size())
        );
    }
    constants.clipping_planes = {};
    std::size_t slot = 0;
    for (const Math::HalfSpace<float, 3>& halfSpace : volume.halfSpaces())
    {
        constants.clipping_planes[slot++] = {halfSpace.a, halfSpace.b, halfSpace.c, halfSpace.d};
    }
}
}  // namespace Render
