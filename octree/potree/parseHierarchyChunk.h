#pragma once

#include "math/NBoundingBox.h"
#include "octree/Export.h"
#include "octree/OctreeNodeId.h"
#include "octree/potree/Node.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace PoTree
{
/// Bytes of one hierarchy record: type and flags 1, child mask 1, point count 4, byte offset 8, byte size
/// 8.
inline constexpr std::size_t kHierarchyRecordSize = 22;

/// Builds the nodes of one hierarchy chunk.
///
/// Records stand in breadth-first order. Bytes after the last node's record are ignored. When there are
/// fewer records than the child masks announce, the slots of the nodes without record stay empty, so memory
/// is bounded by the chunk's size.
/// @param chunk  the bytes
/// @param first  id and box of the chunk's first node
/// @param file   the name for messages
/// @return the chunk's first node; null when the chunk is too short for one record
/// @throws std::runtime_error  for a record of unknown type
OCTREE_API std::shared_ptr<Node> parseHierarchyChunk(
    std::span<const std::byte> chunk,
    const Octree::OctreeNodeId& first,
    const Math::NBoundingBox<double, 3>& box,
    std::string_view file
);
}  // namespace PoTree
