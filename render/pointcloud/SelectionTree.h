#pragma once

#include "math/NBoundingBox.h"
#include "octree/ChildSummary.h"
#include "octree/NodeVisibilityType.h"
#include "octree/OctreeChildNodeIdRange.h"
#include "octree/OctreeNodeId.h"
#include "render/Export.h"

#include <cstddef>
#include <optional>
#include <stop_token>

namespace Octree
{
class Octree;
}

namespace Render
{
/// What the selection pass asks of an octree.
///
/// Threads  one thread at a time. Failures are thrown; so may a stop request be.
class RENDER_API SelectionTree
{
public:
    virtual ~SelectionTree() = default;

    /// A node's cube.
    virtual Math::NBoundingBox<float, 3> boundingCube(const Octree::OctreeNodeId& id) const = 0;

    /// None for a leaf.
    virtual Octree::OctreeChildNodeIdRange children(const Octree::OctreeNodeId& id, std::stop_token stopToken)
        const = 0;

    /// Whether all, none or some of a node's points are visible.
    virtual Octree::NodeVisibilityType nodeVisibility(
        const Octree::OctreeNodeId& id, std::stop_token stopToken
    ) const = 0;

    /// Number of points that the node has, hidden ones included; nothing where that is not known before it is
    /// read.
    virtual std::optional<std::size_t> storedPointCount(
        const Octree::OctreeNodeId& id, std::stop_token stopToken
    ) const;

    /// Number of points that will be visible; nothing where that is not known before the node is read.
    virtual std::optional<std::size_t> exactPointCount(
        const Octree::OctreeNodeId& id, std::stop_token stopToken
    ) const;

    /// Says that the walk will soon ask for what is known of a node; does not wait. What lies far away is then on
    /// its way.
    /// @return false while asking would wait for that; then this can be said again to find out
    virtual bool expect(const Octree::OctreeNodeId& id) const;

    /// Takes that back.
    virtual void forget(const Octree::OctreeNodeId& id) const;

    /// The children with their exact counts; nothing where counts are not known before nodes are read.
    virtual std::optional<Octree::ChildSummary> childSummary(
        const Octree::OctreeNodeId& id, std::stop_token stopToken
    ) const;
};

/// An octree on disk as the selection pass sees it.
class RENDER_API OctreeSelectionTree final : public SelectionTree
{
public:
    /// @param octree  outlives this object
    explicit OctreeSelectionTree(const Octree::Octree& octree);

    Math::NBoundingBox<float, 3> boundingCube(const Octree::OctreeNodeId& id) const override;
    Octree::OctreeChildNodeIdRange children(const Octree::OctreeNodeId& id, std::stop_token stopToken)
        const override;
    Octree::NodeVisibilityType nodeVisibility(const Octree::OctreeNodeId& id, std::stop_token stopToken)
        const override;
    std::optional<std::size_t> storedPointCount(const Octree::OctreeNodeId& id, std::stop_token stopToken)
        const override;
    std::optional<std::size_t> exactPointCount(const Octree::OctreeNodeId& id, std::stop_token stopToken)
        const override;
    bool expect(const Octree::OctreeNodeId& id) const override;
    void forget(const Octree::OctreeNodeId& id) const override;
    std::optional<Octree::ChildSummary> childSummary(
        const Octree::OctreeNodeId& id, std::stop_token stopToken
    ) const override;

private:
    const Octree::Octree& mOctree;
    bool mHasVisibility;
};
}  // namespace Render
