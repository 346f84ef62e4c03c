#include "octree/OctreeNodeId.h"

#include <bit>
#include <stdexcept>

namespace Octree
{
std::uint64_t OctreeNodeId::level() const noexcept
{
    return static_cast<std::uint64_t>(std::bit_width(mCode) - 1) / 3U;
}

OctreeNodeId OctreeNodeId::child(unsigned index) const
{
    if (index > 7)
    {
        throw std::out_of_range("OctreeNodeId::child: the index must be 0 to 7");
    }
    if (level() == MAX_REPRESENTABLE_LEVEL)
    {
        throw std::out_of_range("OctreeNodeId::child: a node at the deepest level has no children");
    }
    return OctreeNodeId((mCode << 3U) | index);
}

std::string OctreeNodeId::name() const
{
    const std::uint64_t digits = level();
    std::string text(1 + digits, 'r');
    std::uint64_t code = mCode;
    for (std::uint64_t i = digits; i > 0; --i)
    {
        text[i] = static_cast<char>('0' + (code & 7U));
        code >>= 3U;
    }
    return text;
}

OctreeNodeId OctreeNodeId::fromName(std::string_view name)
{
    if (name.empty() || name.front() != 'r' || name.size() - 1 > MAX_REPRESENTABLE_LEVEL)
    {
        throw std::invalid_argument("OctreeNodeId::fromName: expected r and at most 21 digits 0 to 7");
    }
    OctreeNodeId id;
    for (const char digit : name.substr(1))
    {
        if (digit < '0' || digit > '7')
        {
            throw std::invalid_argument("OctreeNodeId::fromName: expected r and at most 21 digits 0 to 7");
        }
        id = id.child(static_cast<unsigned>(digit - '0'));
    }
    return id;
}
}  // namespace Octree
