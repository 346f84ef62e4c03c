#pragma once

#include "octree/NodeCell.h"
#include "octree/OctreeNodeId.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Octree
{
/// Number of points of a node that another table describes.
inline constexpr std::int64_t kPointsElsewhere = -1;

/// The nodes that one part of a hierarchy lists: a subtree, cut off where other parts go on.
///
/// Shape    sorted by id, so that parents come before children and siblings lie together.
/// Threads  not changed once it is made, then safe to read from any thread.
/// @tparam Entry  has at least `id`, an OctreeNodeId, and `count`, a number of points or kPointsElsewhere
template <class Entry>
class NodeTable
{
public:
    NodeTable() = default;

    /// With these rules no table can lead back to a node above its own, so a walk over all of them ends.
    /// @param first  the node that the subtree begins with
    /// @throws std::runtime_error  naming the node, for a first one that is not listed with its own count, and
    ///                             for nodes that are listed twice or without their parent
    NodeTable(std::vector<Entry> entries, const OctreeNodeId& first) : mEntries(std::move(entries))
    {
        mEntries.shrink_to_fit();
        std::ranges::sort(mEntries, {}, &Entry::id);
        check(first);
    }

    /// The node's entry; null when there is none.
    const Entry* find(const OctreeNodeId& id) const noexcept
    {
        const auto found = lowerBound(id);
        return found != mEntries.end() && found->id == id ? &*found : nullptr;
    }

    /// Bit i: child i is listed. For nodes whose count is not kPointsElsewhere that says which children exist.
    unsigned childMask(const OctreeNodeId& id) const noexcept
    {
        if (id.level() >= OctreeNodeId::MAX_REPRESENTABLE_LEVEL)
        {
            return 0;
        }
        unsigned mask = 0;
        const std::uint64_t firstChild = id.code() << 3U;
        for (auto entry = lowerBound(id.child(0));
             entry != mEntries.end() && entry->id.code() - firstChild < 8;
             ++entry)
        {
            mask |= 1U << entry->id.childIndex();
        }
        return mask;
    }

    /// Number of nodes listed.
    std::size_t size() const noexcept { return mEntries.size(); }

private:
    typename std::vector<Entry>::const_iterator lowerBound(const OctreeNodeId& id) const
    {
        return std::ranges::lower_bound(mEntries, id, {}, &Entry::id);
    }

    bool hasOwnCount(const OctreeNodeId& id) const noexcept
    {
        const Entry* const entry = find(id);
        return entry != nullptr && entry->count != kPointsElsewhere;
    }

    void check(const OctreeNodeId& first) const
    {
        if (!hasOwnCount(first))
        {
            throw std::runtime_error("node " + cellName(first) + ", expected its own number of points here");
        }
        for (std::size_t i = 0; i < mEntries.size(); ++i)
        {
            const OctreeNodeId& id = mEntries[i].id;
            if (i > 0 && mEntries[i - 1].id == id)
            {
                throw std::runtime_error("node " + cellName(id) + " is listed twice, expected once");
            }
            if (id != first && (id.isRoot() || !hasOwnCount(id.parent())))
            {
                throw std::runtime_error(
                    "node " + cellName(id) + " without its parent, expected only nodes of the subtree of " +
                    cellName(first) + " whose parents are listed too"
                );
            }
        }
    }

    std::vector<Entry> mEntries;
};
}  // namespace Octree
