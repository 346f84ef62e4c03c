#include "render/pointcloud/SelectionTree.h"

#include "octree/Octree.h"

#include <utility>

namespace Render
{
std::optional<std::size_t> SelectionTree::storedPointCount(const Octree::OctreeNodeId&, std::stop_token) const
{
    return std::nullopt;
}

std::optional<std::size_t> SelectionTree::exactPointCount(const Octree::OctreeNodeId&, std::stop_token) const
{
    return std::nullopt;
}

bool SelectionTree::expect(const Octree::OctreeNodeId&) const
{
    return true;
}

void SelectionTree::forget(const Octree::OctreeNodeId&) const {}

std::optional<Octree::ChildSummary> SelectionTree::childSummary(const Octree::OctreeNodeId&, std::stop_token)
    const
{
    return std::nullopt;
}

OctreeSelectionTree::OctreeSelectionTree(const Octree::Octree& octree)
    : mOctree(octree), mHasVisibility(Octree::hasVisibility(octree.attributeMask()))
{
}

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

std::optional<std::size_t> OctreeSelectionTree::storedPointCount(
    const Octree::OctreeNodeId& id, std::stop_token stopToken
) const
{
    return static_cast<std::size_t>(mOctree.nodeInfo(id, std::move(stopToken)).pointCount);
}

std::optional<std::size_t> OctreeSelectionTree::exactPointCount(
    const Octree::OctreeNodeId& id, std::stop_token stopToken
) const
{
    return mHasVisibility ? std::nullopt : storedPointCount(id, std::move(stopToken));
}

bool OctreeSelectionTree::expect(const Octree::OctreeNodeId& id) const
{
    return mOctree.expectNode(id);
}

void OctreeSelectionTree::forget(const Octree::OctreeNodeId& id) const
{
    mOctree.forgetNode(id);
}

std::optional<Octree::ChildSummary> OctreeSelectionTree::childSummary(
    const Octree::OctreeNodeId& id, std::stop_token stopToken
) const
{
    if (mHasVisibility)
    {
        return std::nullopt;
    }
    return mOctree.childSummary(id, std::move(stopToken));
}
}  // namespace Render
