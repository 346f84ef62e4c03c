#include "octree/entwine/nodeKey.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <system_error>

namespace Entwine
{
using Octree::OctreeNodeId;

std::string nodeKey(const OctreeNodeId& id)
{
    std::array<std::uint64_t, 3> cell{};
    for (std::uint64_t level = id.level(); level > 0; --level)
    {
        const std::uint64_t child = id.code() >> (3U * (level - 1U));
        for (unsigned axis = 0; axis < 3; ++axis)
        {
            cell[axis] = cell[axis] << 1U | (child >> (2U - axis) & 1U);
        }
    }
    std::string key = std::to_string(id.level());
    for (const std::uint64_t coordinate : cell)
    {
        key += '-' + std::to_string(coordinate);
    }
    return key;
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
    const std::uint32_t depth = numbers[0];
    if (next != end || depth > OctreeNodeId::MAX_REPRESENTABLE_LEVEL)
    {
        return std::nullopt;
    }
    for (std::size_t axis = 1; axis < numbers.size(); ++axis)
    {
        if (numbers[axis] >> depth != 0)
        {
            return std::nullopt;
        }
    }
    OctreeNodeId id;
    for (std::uint32_t level = depth; level > 0; --level)
    {
        const std::uint32_t bit = level - 1;
        id = id.child(
            (numbers[1] >> bit & 1U) << 2U | (numbers[2] >> bit & 1U) << 1U | (numbers[3] >> bit & 1U)
        );
    }
    return id;
}
}  // namespace Entwine
