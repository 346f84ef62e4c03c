#pragma once

#include "render/Export.h"
#include "render/gpu/ClippingPlanes.h"
#include "render/gpu/ShaderMatrix.h"

#include <Eigen/Core>

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Render
{
/// The constants that stay the same for all nodes of a point cloud: cbPerFrame of shaders/pointcloud.hlsl,
/// with its field names.
///
/// Shape    640 bytes, ready to copy into a constant buffer.
struct PerFrameConstants
{
    ShaderMatrix model = kIdentityShaderMatrix;                ///< from model to world coordinates
    ShaderMatrix inv_model = kIdentityShaderMatrix;            ///< its inverse
    ShaderMatrix view = kIdentityShaderMatrix;                 ///< from world to camera coordinates
    ShaderMatrix proj = kIdentityShaderMatrix;                 ///< from camera coordinates to the picture's
    ShaderMatrix model_view_proj = kIdentityShaderMatrix;      ///< the product of the three
    ShaderMatrix inv_model_view_proj = kIdentityShaderMatrix;  ///< its inverse
    ShaderMatrix inv_view_proj = kIdentityShaderMatrix;        ///< inverse of view and projection
    ClippingPlanes clipping_planes{};                          ///< model coordinates
    std::array<float, 4> uniformColor{};  ///< red, green, blue, alpha of RenderMode::UniformColor
    /// Near and far, which the shader does not read; those names themselves are macros of `<windows.h>`.
    float zNear = 0.1F;
    float zFar = 20000.0F;
    float width = 640.0F;                ///< of the viewport, pixels
    float height = 480.0F;               ///< of the viewport, pixels
    float aspect = 4.0F / 3.0F;          ///< width by height
    float point_size = 1.0F;             ///< half the width of a splat at level 0, model units
    float root_node_size = 0.0F;         ///< side of the root's cube, model units
    float max_point_size = 5.0F;         ///< pixels
    std::int32_t point_render_mode = 0;  ///< number of a RenderMode
    float tomo_contrast = 0.01F;         ///< how much a point covers in the tomographic modes
    float model_scale = 1.0F;   ///< world units per model unit: length of the model matrix's first column
    std::uint32_t padding = 0;  ///< not read
};

static_assert(std::is_trivially_copyable_v<PerFrameConstants> && std::is_standard_layout_v<PerFrameConstants>);
static_assert(sizeof(PerFrameConstants) == 640);
static_assert(offsetof(PerFrameConstants, model) == 0);
static_assert(offsetof(PerFrameConstants, inv_model) == 64);
static_assert(offsetof(PerFrameConstants, view) == 128);
static_assert(offsetof(PerFrameConstants, proj) == 192);
static_assert(offsetof(PerFrameConstants, model_view_proj) == 256);
static_assert(offsetof(PerFrameConstants, inv_model_view_proj) == 320);
static_assert(offsetof(PerFrameConstants, inv_view_proj) == 384);
static_assert(offsetof(PerFrameConstants, clipping_planes) == 448);
static_assert(offsetof(PerFrameConstants, uniformColor) == 576);
static_assert(offsetof(PerFrameConstants, zNear) == 592);
static_assert(offsetof(PerFrameConstants, zFar) == 596);
static_assert(offsetof(PerFrameConstants, width) == 600);
static_assert(offsetof(PerFrameConstants, height) == 604);
static_assert(offsetof(PerFrameConstants, aspect) == 608);
static_assert(offsetof(PerFrameConstants, point_size) == 612);
static_assert(offsetof(PerFrameConstants, root_node_size) == 616);
static_assert(offsetof(PerFrameConstants, max_point_size) == 620);
static_assert(offsetof(PerFrameConstants, point_render_mode) == 624);
static_assert(offsetof(PerFrameConstants, tomo_contrast) == 628);
static_assert(offsetof(PerFrameConstants, model_scale) == 632);
static_assert(offsetof(PerFrameConstants, padding) == 636);

/// The constants of one node: cbPerOctreeNode of shaders/pointcloud.hlsl, with its field names.
///
/// Shape    32 bytes, ready to copy into a constant buffer.
struct PerOctreeNodeConstants
{
    std::array<float, 3> node_min{};         ///< lowest corner of the node's cube, model coordinates
    std::uint32_t node_index = 0;            ///< the node's texel in the octree texture
    std::uint32_t node_depth = 0;            ///< the node's level
    std::array<std::uint32_t, 3> padding{};  ///< not read
};

static_assert(std::is_trivially_copyable_v<PerOctreeNodeConstants> && std::is_standard_layout_v<PerOctreeNodeConstants>);
static_assert(sizeof(PerOctreeNodeConstants) == 32);
static_assert(offsetof(PerOctreeNodeConstants, node_min) == 0);
static_assert(offsetof(PerOctreeNodeConstants, node_index) == 12);
static_assert(offsetof(PerOctreeNodeConstants, node_depth) == 16);

/// Fills in the matrices, their products and inverses, and the model scale. Products and inverses are
/// formed in double precision, so that a far camera costs them nothing.
RENDER_API void setTransforms(
    PerFrameConstants& constants,
    const Eigen::Matrix4f& model,
    const Eigen::Matrix4f& view,
    const Eigen::Matrix4f& projection
) noexcept;
}  // namespace Render
