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
    if (parent.level() >= pass.maxLevel)
    {
        return;
    }
    for (const Octree::OctreeNodeId& child : pass.tree.children(parent, stopToken))
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
