#pragma once

#include "core/ByteFolder.h"
#include "octree/ChildSummary.h"
#include "octree/Export.h"
#include "octree/OctreeNodeId.h"
#include "octree/PagedHierarchy.h"
#include "octree/entwine/HierarchyFile.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace Entwine
{
/// Which nodes exist and how many points they have: the folder ept-hierarchy.
///
/// A file is read when a lookup reaches it and kept in a cache.
/// Threads  all operations from any threads at once.
class Hierarchy
{
public:
    /// What is known of a node without its points.
    struct Node
    {
        std::uint64_t pointCount = 0;  ///< of its tile
        unsigned childMask = 0;        ///< bit i: child i exists
    };

    /// @param files  of the data set
    OCTREE_API explicit Hierarchy(std::shared_ptr<const Core::ByteFolder> files);

    /// The node, or nothing when it does not exist or a stop was requested.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    OCTREE_API std::optional<Node> find(const Octree::OctreeNodeId& id, std::stop_token stopToken) const;

    /// The node's children, or nothing when it does not exist or a stop was requested.
    /// @throws std::runtime_error  as find()
    OCTREE_API std::optional<Octree::ChildSummary> childSummary(
        const Octree::OctreeNodeId& id, std::stop_token stopToken
    ) const;

    /// Says that a node will soon be looked up, or that it will not; see Octree::PagedHierarchy::expect().
    OCTREE_API bool expect(const Octree::OctreeNodeId& id) const;
    OCTREE_API void forget(const Octree::OctreeNodeId& id) const;

    /// True for a node that is known to have points, without reading anything.
    OCTREE_API bool hasPointsAtHand(const Octree::OctreeNodeId& id) const noexcept;

    /// The folder of the files, for messages.
    OCTREE_API std::string name() const;

    /// Largest size of a file in bytes; it bounds the memory for its nodes to one and a half times that.
    static constexpr std::uint64_t kMaxFileSize = 32U << 20U;

    /// Number of nodes from which on files are dropped from the cache; 64 MB.
    static constexpr std::uint64_t kCacheCapacity = 4'000'000;

private:
    std::shared_ptr<const Core::ByteFolder> mDataSet;
    Octree::PagedHierarchy<HierarchyFile::Entry> mFiles;
};
}  // namespace Entwine
