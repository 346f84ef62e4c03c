#pragma once

#include "render/Export.h"
#include "render/pointcloud/NodeRecord.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

namespace Render
{
/// Where the points of a node lie on the GPU.
struct PointSlot
{
    std::uint32_t window = 0;  ///< number of the buffer
    std::uint32_t first = 0;   ///< its first point in that buffer, a multiple of 4
};

/// Some of a node's points as the splat shaders find them: Chunk of shaders/splats.hlsl, with its field
/// names.
struct SplatChunk
{
    static constexpr std::uint32_t kMostPoints = 64;

    std::uint32_t first = 0;   ///< first point in its buffer, a multiple of 4
    std::uint32_t count = 0;   ///< 1 to kMostPoints
    std::uint32_t node = 0;    ///< row of the node table
    std::uint32_t window = 0;  ///< number of the buffer

    friend bool operator==(const SplatChunk&, const SplatChunk&) = default;
};

static_assert(std::is_trivially_copyable_v<SplatChunk> && sizeof(SplatChunk) == 16);

/// A row of the node table: Node of shaders/splatlevels.hlsl, with its field names.
struct SplatNode
{
    std::array<float, 3> corner{};  ///< lowest of the node's cube, model coordinates
    std::uint32_t texel = 0;        ///< the node's texel in the octree texture
    std::uint32_t level = 0;
};

static_assert(std::is_trivially_copyable_v<SplatNode> && sizeof(SplatNode) == 20);

/// A node that is drawn.
struct DrawnNode
{
    NodeRecord record;
    PointSlot slot;
};

/// Cuts the points of nodes into chunks, in the nodes' order and each node's own.
/// @param chunks  replaced; its storage is kept
/// @param table   replaced by one row a node, in the same order
RENDER_API void writeSplatChunks(
    std::span<const DrawnNode> nodes, std::vector<SplatChunk>& chunks, std::vector<SplatNode>& table
);
}  // namespace Render
