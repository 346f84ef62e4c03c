#pragma once

#include "render/Export.h"

#include <Eigen/Core>

#include <array>

namespace Render
{
/// A matrix as shaders read it: column after column.
using ShaderMatrix = std::array<float, 16>;

/// The identity, the same in either order.
inline constexpr ShaderMatrix kIdentityShaderMatrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

RENDER_API ShaderMatrix toShaderMatrix(const Eigen::Matrix4f& matrix) noexcept;
}  // namespace Render
