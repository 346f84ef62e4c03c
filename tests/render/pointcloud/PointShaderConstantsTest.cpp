#include "render/pointcloud/PointShaderConstants.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <gtest/gtest.h>

#include <cstring>

namespace
{
using Render::PerFrameConstants;

Eigen::Matrix4f matrixOf(const Render::ShaderMatrix& values)
{
    return Eigen::Map<const Eigen::Matrix4f>(values.data());
}
}  // namespace

TEST(PointShaderConstants, StartAsTheyAreDefined)
{
    const PerFrameConstants constants;

    for (const Render::ShaderMatrix* const matrix :
         {&constants.model,
          &constants.inv_model,
          &constants.view,
          &constants.proj,
          &constants.model_view_proj,
          &constants.inv_model_view_proj,
          &constants.inv_view_proj})
    {
        EXPECT_EQ(matrixOf(*matrix), Eigen::Matrix4f(Eigen::Matrix4f::Identity()));
    }
    for (const auto& plane : constants.clipping_planes)
    {
        EXPECT_EQ(plane, (std::array<float, 4>{0, 0, 0, 0}));
    }
    EXPECT_EQ(constants.uniformColor, (std::array<float, 4>{0, 0, 0, 0}));
    EXPECT_EQ(constants.zNear, 0.1f);
    EXPECT_EQ(constants.zFar, 20000.0f);
    EXPECT_EQ(constants.width, 640.0f);
    EXPECT_EQ(constants.height, 480.0f);
    EXPECT_EQ(constants.aspect, 4.0f / 3.0f);
    EXPECT_EQ(constants.point_size, 1.0f);
    EXPECT_EQ(constants.root_node_size, 0.0f);
    EXPECT_EQ(constants.max_point_size, 5.0f);
    EXPECT_EQ(constants.point_render_mode, 0);
    EXPECT_EQ(constants.tomo_contrast, 0.01f);
    EXPECT_EQ(constants.model_scale, 1.0f);
}

TEST(PointShaderConstants, TransformsComeWithTheirProductsAndInverses)
{
    Eigen::Affine3f model = Eigen::Affine3f::Identity();
    model.translate(Eigen::Vector3f(1, 2, 3));
    model.scale(Eigen::Vector3f(3, 4, 5));
    const Eigen::Matrix4f view = Eigen::Affine3f(Eigen::Translation3f(0, 0, -7)).matrix();
    Eigen::Matrix4f projection;
    projection << 2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0.01f, 0.2f, 0, 0, -1, 0;
    PerFrameConstants constants;

    Render::setTransforms(constants, model.matrix(), view, projection);

    EXPECT_EQ(matrixOf(constants.model), model.matrix());
    EXPECT_EQ(matrixOf(constants.view), view);
    EXPECT_EQ(matrixOf(constants.proj), projection);
    const Eigen::Matrix4f modelViewProjection = projection * view * model.matrix();
    EXPECT_TRUE(matrixOf(constants.model_view_proj).isApprox(modelViewProjection, 1e-6f));
    const auto expectInverse = [](const Render::ShaderMatrix& inverse, const Eigen::Matrix4f& matrix)
    { EXPECT_TRUE((matrixOf(inverse) * matrix).isIdentity(1e-4f)) << matrixOf(inverse); };
    expectInverse(constants.inv_model, model.matrix());
    expectInverse(constants.inv_model_view_proj, modelViewProjection);
    expectInverse(constants.inv_view_proj, projection * view);
    EXPECT_FLOAT_EQ(constants.model_scale, 3.0f);
}
