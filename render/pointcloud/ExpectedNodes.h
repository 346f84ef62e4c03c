#pragma once

#include "core/NonCopyable.h"
#include "octree/OctreeNodeId.h"

#include <cstddef>
#include <functional>
#include <unordered_set>
#include <utility>

namespace Render
{
/// The nodes of which somebody has said that he will look them up, and which lie far away. What has not been looked
/// up at its end is taken back.
///
/// Threads  one thread.
class ExpectedNodes : private Core::NonCopyable
{
public:
    using Expect = std::function<bool(const Octree::OctreeNodeId&)>;
    using Forget = std::function<void(const Octree::OctreeNodeId&)>;

    /// @param expect  false while looking the node up would wait for what is on its way
    /// @param forget  takes that back; must not throw
    ExpectedNodes(Expect expect, Forget forget) : mExpect(std::move(expect)), mForget(std::move(forget)) {}

    ~ExpectedNodes() { forgetAll(); }

    /// @return true when looking the node up will not wait
    bool expect(const Octree::OctreeNodeId& id)
    {
        const bool isKnown = mExpect(id);
        if (isKnown)
        {
            mIds.erase(id);
        }
        else
        {
            mIds.insert(id);
        }
        return isKnown;
    }

    /// The node has been looked up.
    void take(const Octree::OctreeNodeId& id) { mIds.erase(id); }

    void forgetAll()
    {
        for (const Octree::OctreeNodeId& id : mIds)
        {
            mForget(id);
        }
        mIds.clear();
    }

private:
    Expect mExpect;
    Forget mForget;
    std::unordered_set<Octree::OctreeNodeId> mIds;
};
}  // namespace Render
