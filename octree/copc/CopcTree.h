#pragma once

#include "octree/Export.h"
#include "octree/PagedHierarchy.h"
#include "octree/Tree.h"
#include "octree/copc/CopcFile.h"
#include "octree/rows/RowLayout.h"
#include "octree/rows/decodeRows.h"

#include <functional>
#include <optional>
#include <span>
#include <stop_token>

namespace Copc
{
/// Reads a Cloud Optimized Point Cloud: one compressed LAS file whose chunks are the nodes of an octree.
///
/// Pages of the hierarchy are read when a lookup reaches them, chunks when their points are asked for, each by
/// one range. Only the root's points are read at once: they tell the range of intensities, and whether
/// colours have 16 bits or 8.
/// Threads  all operations from any threads at once.
class OCTREE_API CopcTree final : public Octree::Tree
{
public:
    /// Opens the data set: reads and checks header, first page of the hierarchy and the root's points.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    explicit CopcTree(const Octree::Location& location);

    const Octree::TreeDescription& description() const noexcept override { return mDescription; }

    std::optional<Octree::NodeInfo> nodeById(const Octree::OctreeNodeId& id, std::stop_token stopToken)
        const override;

    std::optional<Octree::ChildSummary> childSummary(
        const Octree::OctreeNodeId& id, std::stop_token stopToken
    ) const override;

    bool getNodePointData(
        const Octree::OctreeNodeId& id,
        unsigned attributes,
        double unitScale,
        Octree::NodePointColumns& out,
        std::stop_token stopToken
    ) const override;

    bool passNodePoints(
        const Octree::OctreeNodeId& id,
        unsigned attributes,
        double unitScale,
        Octree::PointSink& sink,
        std::stop_token stopToken
    ) const override;

    bool expectNode(const Octree::OctreeNodeId& id) const override;
    void forgetNode(const Octree::OctreeNodeId& id) const override;
    void expectPoints(const Octree::OctreeNodeId& id) const noexcept override;
    void forgetPoints(const Octree::OctreeNodeId& id) const noexcept override;

    /// Number of nodes from which on pages of the hierarchy are dropped from memory; 60 MB.
    static constexpr std::uint64_t kHierarchyCacheCapacity = 2'500'000;

private:
    using Hierarchy = Octree::PagedHierarchy<NodeEntry>;

    // Nothing when a stop was requested.
    std::optional<NodeEntry> existingNode(const Octree::OctreeNodeId& id, const std::stop_token& stopToken)
        const;

    bool readRows(
        const NodeEntry& entry,
        const Las::LazHeader& las,
        const std::function<void(std::span<const std::byte>)>& decode,
        const std::stop_token& stopToken
    ) const;

    Extent extentOf(const NodeEntry* link) const noexcept;

    void sampleRoot();

    Octree::RowConversion conversion(double unitScale) const noexcept;

    CopcFile mFile;
    Octree::RowLayout mLayout;
    Las::LazHeader mRecordHeader;  // for rows of what was recorded, too
    Octree::RowLayout mRecordLayout;
    Octree::TreeDescription mDescription;
    Hierarchy mHierarchy;
    bool mWideColors = false;
};
}  // namespace Copc
