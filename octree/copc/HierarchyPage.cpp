#include "octree/copc/HierarchyPage.h"

#include "octree/copc/CopcHeader.h"

#include <array>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Copc
{
namespace
{
/// An entry as it lies in the file.
struct StoredEntry
{
    std::array<std::int32_t, 4> key;  ///< level, x, y, z
    std::uint64_t offset;
    std::int32_t size;
    std::int32_t count;
};

static_assert(sizeof(StoredEntry) == kHierarchyEntry);

std::string nameOf(const StoredEntry& entry)
{
    std::string name = "node ";
    for (std::size_t i = 0; i < entry.key.size(); ++i)
    {
        name += (i > 0 ? "-" : "") + std::to_string(entry.key[i]);
    }
    return name;
}

NodeEntry entryOf(const StoredEntry& stored)
{
    // A negative number is no cell's once it has no sign.
    const auto number = [&](std::size_t i) { return static_cast<std::uint32_t>(stored.key[i]); };
    const std::optional<Octree::OctreeNodeId> id =
        Octree::nodeAt({number(0), {number(1), number(2), number(3)}});
    if (!id)
    {
        throw std::runtime_error(
            nameOf(stored) + ", expected a level from 0 to 21 and x, y, z from 0 to below 2^level"
        );
    }
    if (stored.count < Octree::kPointsElsewhere)
    {
        throw std::runtime_error(
            nameOf(stored) + " of " + std::to_string(stored.count) + " points, expected 0 or more, or -1"
        );
    }
    if (stored.size < 0)
    {
        throw std::runtime_error(
            nameOf(stored) + " of " + std::to_string(stored.size) + " bytes, expected 0 or more"
        );
    }
    return {*id, stored.offset, static_cast<std::uint32_t>(stored.size), stored.count};
}
}  // namespace

Octree::NodeTable<NodeEntry> parseHierarchyPage(
    std::span<const std::byte> bytes, const Octree::OctreeNodeId& first
)
{
    std::vector<NodeEntry> entries(bytes.size() / kHierarchyEntry);
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        StoredEntry stored;
        std::memcpy(&stored, bytes.data() + i * kHierarchyEntry, sizeof stored);
        entries[i] = entryOf(stored);
    }
    return {std::move(entries), first};
}
}  // namespace Copc
