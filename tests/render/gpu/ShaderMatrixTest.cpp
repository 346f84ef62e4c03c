#include "render/gpu/ShaderMatrix.h"

#include <gtest/gtest.h>

TEST(ShaderMatrix, IsStoredColumnAfterColumn)
{
    Eigen::Matrix4f matrix;
    matrix << 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15;

    const Render::ShaderMatrix stored = Render::toShaderMatrix(matrix);

    EXPECT_EQ(stored, (Render::ShaderMatrix{0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}));
}
