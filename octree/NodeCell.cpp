#include "octree/NodeCell.h"

namespace Octree
{
NodeCell nodeCell(const OctreeNodeId& id) noexcept
{
    NodeCell cell;
    cell.level = static_cast<std::uint32_t>(id.level());
    for (std::uint64_t level = cell.level; level > 0; --level)
    {
        const std::uint64_t child = id.code() >> (3U * (level - 1U));
        for (unsigned axis = 0; axis < 3; ++axis)
        {
            cell.place[axis] = cell.place[axis] << 1U | static_cast<std::uint32_t>(child >> (2U - axis) & 1U);
        }
    }
    return cell;
}

std::optional<OctreeNodeId> nodeAt(const NodeCell& cell)
{
    if (cell.level > OctreeNodeId::MAX_REPRESENTABLE_LEVEL)
    {
        return std::nullopt;
    }
    for (const std::uint32_t coordinate : cell.place)
    {
        if (coordinate >> cell.level != 0)
        {
            return std::nullopt;
        }
    }
    OctreeNodeId id;
    for (std::uint32_t level = cell.level; level > 0; --level)
    {
        const std::uint32_t bit = level - 1;
        const auto& [x, y, z] = cell.place;
        id = id.child((x >> bit & 1U) << 2U | (y >> bit & 1U) << 1U | (z >> bit & 1U));
    }
    return id;
}

std::string cellName(const NodeCell& cell)
{
    std::string name = std::to_string(cell.level);
    for (const std::uint32_t coordinate : cell.place)
    {
        name += '-' + std::to_string(coordinate);
    }
    return name;
}

std::string cellName(const OctreeNodeId& id)
{
    return cellName(nodeCell(id));
}
}  // namespace Octree
