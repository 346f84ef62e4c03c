#include "render/gpu/ShaderMatrix.h"

#include <algorithm>

namespace Render
{
ShaderMatrix toShaderMatrix(const Eigen::Matrix4f& matrix) noexcept
{
    static_assert(!Eigen::Matrix4f::IsRowMajor);
    ShaderMatrix result;
    std::copy_n(matrix.data(), result.size(), result.begin());
    return result;
}
}  // namespace Render
