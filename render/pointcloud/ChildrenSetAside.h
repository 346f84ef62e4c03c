#pragma once

#include "core/NonCopyable.h"
#include "math/NBoundingBox.h"
#include "octree/ChildSummary.h"
#include "octree/OctreeChildNodeIdRange.h"
#include "octree/OctreeNodeId.h"
#include "render/pointcloud/CandidateQueue.h"
#include "render/pointcloud/NodePrioritizer.h"

#include <stop_token>
#include <vector>

namespace Render
{
struct SelectionPass;

/// The children of resident nodes that a selection pass does not offer, because as things are each would be
/// refused.
///
/// A refusal changes nothing, so leaving it out changes nothing either, while nothing else changes: before a
/// node gets in, the pass offers what is set aside here too, and goes on with the best of all.
///
/// Threads  the pass's.
class ChildrenSetAside : private Core::NonCopyable
{
public:
    explicit ChildrenSetAside(const SelectionPass& pass) noexcept : mPass(pass) {}

    /// Offers the children of a node, but for those that it takes.
    /// @param parent  resident
    /// @param box     its bounding cube
    void offerOrTake(
        const Candidate& parent,
        const Math::NBoundingBox<float, 3>& box,
        const std::stop_token& stopToken,
        CandidateQueue& candidates
    );

    bool empty() const noexcept { return mChildren.empty(); }

    /// Offers all children after all; from then on none are taken.
    void offerAll(const std::stop_token& stopToken, CandidateQueue& candidates);

    /// Counts all children as refused.
    /// @return false when that may not be so any more, since others have changed what is resident
    bool refuse();

private:
    bool mayBeRefused(const Candidate& parent);
    unsigned refusedOf(
        const Octree::OctreeNodeId& parent,
        const Math::NBoundingBox<float, 3>& box,
        const Octree::ChildSummary& children
    ) const;

    const SelectionPass& mPass;
    std::vector<Octree::OctreeChildNodeIdRange> mChildren;
    NodePrioritizer::Bar mBar{};  // as it was when the first of them was taken
    bool mIsClosed = false;
};
}  // namespace Render
