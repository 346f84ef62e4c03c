#pragma once

#include "octree/Export.h"
#include "octree/OctreeNodeId.h"

#include <optional>
#include <string>
#include <string_view>

namespace Entwine
{
/// How files name a node: "D-X-Y-Z", its depth and the coordinates of its cell among the 2^D of each axis.
OCTREE_API std::string nodeKey(const Octree::OctreeNodeId& id);

/// The inverse; nothing for any other text, a cell outside the root's cube, or a depth above 21.
OCTREE_API std::optional<Octree::OctreeNodeId> parseNodeKey(std::string_view key);
}  // namespace Entwine
