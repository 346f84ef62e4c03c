#pragma once

#include "octree/Export.h"
#include "octree/Tree.h"
#include "octree/entwine/Hierarchy.h"
#include "octree/entwine/Metadata.h"
#include "octree/entwine/RememberedAnswer.h"
#include "octree/entwine/TileReader.h"
#include "octree/rows/RowLayout.h"
#include "octree/rows/decodeRows.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>

namespace Entwine
{
/// Reads Entwine Point Tiles: ept.json, ept-hierarchy, ept-data.
///
/// Hierarchy files are read when a lookup reaches them, tiles when their points are asked for.
/// Threads  all operations from any threads at once.
class OCTREE_API EntwineTree final : public Octree::Tree
{
public:
    /// Opens the data set: reads and checks the description.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    explicit EntwineTree(const Octree::Location& location);

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

private:
    // Nothing when a stop was requested.
    std::optional<Hierarchy::Node> existingNode(
        const Octree::OctreeNodeId& id, const std::stop_token& stopToken
    ) const;
    std::optional<Octree::RowConversion> conversion(
        unsigned attributes, double unitScale, const std::stop_token& stopToken
    ) const;

    bool readTile(
        const Octree::OctreeNodeId& id,
        std::uint64_t pointCount,
        unsigned attributes,
        const std::function<void(const Tile&)>& decode,
        const std::stop_token& stopToken
    ) const;

    std::optional<bool> hasWideColors(const std::stop_token& stopToken) const;
    std::optional<bool> sampleWideColors(const std::stop_token& stopToken) const;

    Metadata mMetadata;
    Octree::RowLayout mLayout;
    Octree::TreeDescription mDescription;
    Hierarchy mHierarchy;
    TileReader mTiles;

    RememberedAnswer<bool> mWideColors;  // of the points, where the schema does not say
};
}  // namespace Entwine
