#include "render/pointcloud/SelectionTree.h"

#include "octree/Octree.h"

#include <utility>

namespace Render
{
Math::NBoundingBox<float, 3> OctreeSelectionTree::boundingCube(const Octree::OctreeNodeId& id) const
{
    return mOctree.boundingCube(id);
}

Octree::OctreeChildNodeIdRange OctreeSelectionTree::children(
    const Octree::OctreeNodeId& id, std::stop_token stopToken
) const
{
    return mOctree.children(id, std::move(stopToken));
}

Octree::NodeVisibilityType OctreeSelectionTree::nodeVisibility(
    const Octree::OctreeNodeId& id, std::stop_token stopToken
) const
{
    return mOctree.nodeVisibility(id, std::move(stopToken));
}
}  // namespace Render
