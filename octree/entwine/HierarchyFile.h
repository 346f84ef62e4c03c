#pragma once

#include "octree/Export.h"
#include "octree/NodeTable.h"
#include "octree/OctreeNodeId.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Entwine
{
/// The nodes that one file of ept-hierarchy lists: a subtree, cut off where other files go on.
///
/// Shape    16 bytes a node, sorted by id, so that parents come before children and siblings lie together.
/// Threads  not changed once it is parsed, then safe to read from any thread.
class HierarchyFile
{
public:
    /// Number of points of a node that another file describes.
    static constexpr std::int64_t kElsewhere = Octree::kPointsElsewhere;

    /// Reads and checks the text: one object of node keys and numbers of points.
    /// @param first  the node that the subtree begins with; it must be listed with its own number
    /// @param file   the name for messages
    /// @throws std::runtime_error  naming file and key, for text that is no such object, malformed or
    ///                             repeated keys, numbers that are no count, and nodes whose parent the file
    ///                             does not list
    OCTREE_API HierarchyFile(std::string_view text, const Octree::OctreeNodeId& first, std::string_view file);

    /// The node that the file begins with.
    const Octree::OctreeNodeId& first() const noexcept { return mFirst; }

    /// The node's number of points or kElsewhere; nothing when the file does not list it.
    OCTREE_API std::optional<std::int64_t> count(const Octree::OctreeNodeId& id) const noexcept;

    /// Bit i: child i is listed. For nodes whose count is not kElsewhere that says which children exist.
    OCTREE_API unsigned childMask(const Octree::OctreeNodeId& id) const noexcept;

    /// Number of nodes listed.
    std::size_t size() const noexcept { return mNodes.size(); }

    /// One node that the file lists.
    struct Entry
    {
        Octree::OctreeNodeId id;  ///< which node
        std::int64_t count;       ///< number of points, or kElsewhere
    };

    /// All of them.
    const Octree::NodeTable<Entry>& nodes() const noexcept { return mNodes; }

private:
    Octree::OctreeNodeId mFirst;
    Octree::NodeTable<Entry> mNodes;
};
}  // namespace Entwine
