#include "octree/entwine/nodeKey.h"

#include "octree/NodeCell.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <system_error>

namespace Entwine
{
using Octree::OctreeNodeId;

std::string nodeKey(const OctreeNodeId& id)
{
    return Octree::cellName(id);
}

std::optional<OctreeNodeId> parseNodeKey(std::string_view key)
{
    std::array<std::uint32_t, 4> numbers{};  // depth, x, y, z
    const char* next = key.data();
    const char* const end = key.data() + key.size();
    for (std::size_t i = 0; i < numbers.size(); ++i)
    {
        if (i > 0 && (next == end || *next++ != '-'))
        {
            return std::nullopt;
        }
        const bool isPadded = end - next > 1 && next[0] == '0' && next[1] != '-';
        const auto [after, error] = std::from_chars(next, end, numbers[i]);
        if (error != std::errc() || isPadded)  // one node must not have two names
        {
            return std::nullopt;
        }
        next = after;
    }
    if (next != end)
    {
        return std::nullopt;
    }
    return Octree::nodeAt({numbers[0], {numbers[1], numbers[2], numbers[3]}});
}
}  // namespace Entwine
