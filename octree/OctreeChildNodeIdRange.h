#pragma once

#include "octree/OctreeNodeId.h"

#include <array>
#include <cstddef>

namespace Octree
{
/// The ids of a node's existing children in child order.
class OctreeChildNodeIdRange
{
public:
    OctreeChildNodeIdRange() = default;

    /// @param childMask  bit i set when child i exists; must be 0 for a node at the deepest level
    OctreeChildNodeIdRange(const OctreeNodeId& parent, unsigned childMask)
    {
        for (unsigned i = 0; i < 8; ++i)
        {
            if (((childMask >> i) & 1U) != 0)
            {
                mIds[mCount++] = parent.child(i);
            }
        }
    }

    /// The first child.
    const OctreeNodeId* begin() const noexcept { return mIds.data(); }

    /// Behind the last child.
    const OctreeNodeId* end() const noexcept { return mIds.data() + mCount; }

    /// Number of children, 0 to 8.
    std::size_t size() const noexcept { return mCount; }

    /// Whether there are no children.
    bool empty() const noexcept { return mCount == 0; }

private:
    std::array<OctreeNodeId, 8> mIds{};
    std::size_t mCount = 0;
};
}  // namespace Octree
