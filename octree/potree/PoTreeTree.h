#pragma once

#include "core/LruCache.h"
#include "octree/Export.h"
#include "octree/ScratchLoan.h"
#include "octree/Tree.h"
#include "octree/potree/FileLoader.h"
#include "octree/potree/Metadata.h"
#include "octree/potree/Node.h"
#include "octree/potree/PointConversion.h"
#include "octree/potree/PointLayout.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stop_token>

namespace PoTree
{
/// Reads an octree of three files: metadata.json, hierarchy.bin, octree.bin.
///
/// Hierarchy chunks are read when a lookup reaches them. Each byte range of hierarchy.bin belongs to the
/// first node that claims it, so proxies that share a chunk or lead back to one are an error before anything
/// is read, and a walk over the whole tree ends.
/// Threads  all operations from any threads at once.
class OCTREE_API PoTreeTree final : public Octree::Tree
{
public:
    /// Largest number of nodes that the hierarchy cache holds.
    static constexpr std::uint64_t kHierarchyCacheCapacity = 200000;

    /// Opens the data set: reads and checks the metadata.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    explicit PoTreeTree(const Octree::Location& location);

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

    /// The node through the hierarchy cache; null when it does not exist or a stop was requested. Never a
    /// proxy.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    std::shared_ptr<const Node> findNode(const Octree::OctreeNodeId& id, std::stop_token stopToken) const;

private:
    struct ChunkClaim
    {
        std::uint64_t end;
        Octree::OctreeNodeId owner;
    };

    /// A part of hierarchy.bin.
    struct ChunkPlace
    {
        std::uint64_t offset;
        std::uint64_t size;
    };

    std::optional<ChunkPlace> chunkOf(const Octree::OctreeNodeId& child) const;
    bool isKnownFromRecord(const Node& node) const noexcept;
    std::shared_ptr<const Node> nodeAtHand(const Octree::OctreeNodeId& id) const noexcept;
    std::shared_ptr<Node> cachedNode(const Octree::OctreeNodeId& id, std::stop_token stopToken) const;
    std::shared_ptr<Node> loadNode(const Octree::OctreeNodeId& id, std::stop_token stopToken) const;
    std::shared_ptr<Node> loadChunk(
        const Octree::OctreeNodeId& first,
        const Math::NBoundingBox<double, 3>& box,
        std::uint64_t offset,
        std::uint64_t size,
        std::stop_token stopToken
    ) const;
    void claimChunk(const Octree::OctreeNodeId& owner, std::uint64_t offset, std::uint64_t size) const;

    std::shared_ptr<const Node> existingNode(const Octree::OctreeNodeId& id, const std::stop_token& stopToken)
        const;
    PointConversion conversion(double unitScale) const;

    std::optional<std::span<const std::byte>> readUnpacked(
        const Node& node, const Octree::ScratchLoan& scratch, const std::stop_token& stopToken
    ) const;
    std::uint64_t largestUnpackedSize(const Node& node) const;
    std::optional<std::span<const std::byte>> unpacked(
        const Node& node,
        std::uint64_t largestSize,
        const Octree::ScratchLoan& scratch,
        const std::stop_token& stopToken
    ) const;

    Metadata mMetadata;
    PointLayout mLayout;
    Octree::TreeDescription mDescription;
    FileLoader mLoader;

    mutable Core::LruCache<Octree::OctreeNodeId, std::shared_ptr<Node>> mNodes;

    mutable std::mutex mClaimsMutex;                      // guards mClaims
    mutable std::map<std::uint64_t, ChunkClaim> mClaims;  // by offset into hierarchy.bin
};
}  // namespace PoTree
