#include "render/pointcloud/CandidateQueue.h"

#include "render/pointcloud/selectNodes.h"

namespace Render
{
void offerChildren(
    const SelectionPass& pass,
    const Octree::OctreeNodeId& parent,
    const std::stop_token& stopToken,
    CandidateQueue& candidates
)
{
    if (parent.level() < pass.maxLevel)
    {
        offerChildren(pass, pass.tree.children(parent, stopToken), stopToken, candidates);
    }
}

void offerChildren(
    const SelectionPass& pass,
    const Octree::OctreeChildNodeIdRange& children,
    const std::stop_token& stopToken,
    CandidateQueue& candidates
)
{
    for (const Octree::OctreeNodeId& child : children)
    {
        if (pass.tree.nodeVisibility(child, stopToken) == Octree::NodeVisibilityType::Hidden)
        {
            continue;
        }
        const NodePriority priority = pass.ranking(child.level(), pass.tree.boundingCube(child));
        if (priority > NodePriority::discard())
        {
            candidates.push({child, priority});
        }
    }
}
}  // namespace Render
