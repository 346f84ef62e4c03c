#pragma once

#include "octree/Export.h"
#include "octree/OctreeNodeId.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace Octree
{
/// A node by its place among all that are as deep: what data sets name it by that do not count children.
struct NodeCell
{
    std::uint32_t level = 0;               ///< 0 for the root
    std::array<std::uint32_t, 3> place{};  ///< x, y and z, each from 0 to below 2^level

    friend bool operator==(const NodeCell&, const NodeCell&) = default;
};

/// The cell of a node.
OCTREE_API NodeCell nodeCell(const OctreeNodeId& id) noexcept;

/// The inverse; nothing for a cell outside the root's cube, or a level above 21.
OCTREE_API std::optional<OctreeNodeId> nodeAt(const NodeCell& cell);

/// "D-X-Y-Z", the level and the place.
OCTREE_API std::string cellName(const NodeCell& cell);

/// The same of a node's cell.
OCTREE_API std::string cellName(const OctreeNodeId& id);
}  // namespace Octree
