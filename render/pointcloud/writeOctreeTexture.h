#pragma once

#include "render/Export.h"
#include "render/pointcloud/NodeRecord.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Render
{
/// Number of texels of the octree texture, and so of nodes of one cloud that can be drawn.
inline constexpr std::size_t kMaxDrawnNodes = 4096;

/// Writes the octree texture through which the point shader finds the depth of the drawn tree at a point.
///
/// Shape    4 bytes per node, in the order of the records; a node without drawn children has all bytes 0.
/// - byte 0: child mask, bit k set when child k is drawn
/// - byte 1: high byte of (position of the first drawn child - own position)
/// - byte 2: low byte of that offset
/// - byte 3: 0
/// @param records  ascending by octreeNodeId, which places parents before children and siblings together; at
///                 most kMaxDrawnNodes
/// @param texels   replaced; its storage is kept
RENDER_API void writeOctreeTexture(std::span<const NodeRecord> records, std::vector<std::uint8_t>& texels);
}  // namespace Render
