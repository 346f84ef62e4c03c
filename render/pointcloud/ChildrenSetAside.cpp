#include "render/pointcloud/ChildrenSetAside.h"

#include "render/pointcloud/selectNodes.h"

#include <exception>
#include <optional>

namespace Render
{
namespace
{
/// Nothing where it is not known before nodes are read or cannot be read.
std::optional<Octree::ChildSummary> summaryOf(
    const SelectionTree& tree, const Octree::OctreeNodeId& parent, const std::stop_token& stopToken
)
{
    try
    {
        return tree.childSummary(parent, stopToken);
    }
    catch (const std::exception&)
    {
        return std::nullopt;  // offering the children says better what is wrong
    }
}
}  // namespace

void ChildrenSetAside::offerOrTake(
    const Candidate& parent,
    const Math::NBoundingBox<float, 3>& box,
    const std::stop_token& stopToken,
    CandidateQueue& candidates
)
{
    if (parent.id.level() >= mPass.maxLevel)
    {
        return;
    }
    const std::optional<Octree::ChildSummary> summary =
        mayBeRefused(parent) ? summaryOf(mPass.tree, parent.id, stopToken) : std::nullopt;
    if (!summary)
    {
        offerChildren(mPass, parent.id, stopToken, candidates);
        return;
    }
    const unsigned refused = refusedOf(parent.id, box, *summary);
    if (refused != 0)
    {
        mChildren.emplace_back(parent.id, refused);
    }
    offerChildren(mPass, {parent.id, summary->mask & ~refused}, stopToken, candidates);
}

/// Saves the look at the children where they are too large; about half as large as their parent.
bool ChildrenSetAside::mayBeRefused(const Candidate& parent)
{
    constexpr float kLargestRatio = 2.5F;
    if (mIsClosed || !mPass.childrenBound)
    {
        return false;
    }
    if (mChildren.empty())  // else the pass has changed nothing since
    {
        mBar = mPass.prioritizer.bar();
    }
    return parent.priority.priority() < kLargestRatio * mBar.leastPriority;
}

/// The mask of those children that are refused as things are.
unsigned ChildrenSetAside::refusedOf(
    const Octree::OctreeNodeId& parent,
    const Math::NBoundingBox<float, 3>& box,
    const Octree::ChildSummary& children
) const
{
    const auto areTooSmall = [&](unsigned mask)
    {
        return mPass.childrenBound(parent.level() + 1, box, mask) + NodePriority::kTolerance <
               mBar.leastPriority;
    };
    if (children.mask == 0 || children.fewestPoints < mBar.pointCount)
    {
        return 0;
    }
    if (areTooSmall(children.mask))
    {
        return children.mask;
    }
    unsigned refused = 0;
    for (const Octree::OctreeNodeId& child : Octree::OctreeChildNodeIdRange(parent, children.mask))
    {
        const unsigned bit = 1U << child.childIndex();
        refused |= areTooSmall(bit) ? bit : 0U;
    }
    return refused;
}

void ChildrenSetAside::offerAll(const std::stop_token& stopToken, CandidateQueue& candidates)
{
    mIsClosed = true;
    std::vector<Octree::OctreeChildNodeIdRange> offered;
    offered.swap(mChildren);
    for (const Octree::OctreeChildNodeIdRange& children : offered)
    {
        offerChildren(mPass, children, stopToken, candidates);
    }
}

bool ChildrenSetAside::refuse()
{
    return mChildren.empty() || mPass.prioritizer.confirmRefusals(mBar.changeCount);
}
}  // namespace Render
