#pragma once

#include "core/ByteSource.h"
#include "core/ReopenedFile.h"
#include "octree/Export.h"
#include "octree/Location.h"
#include "octree/OctreeNodeId.h"
#include "octree/ScratchLoan.h"
#include "octree/copc/CopcHeader.h"
#include "octree/copc/HierarchyPage.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stop_token>
#include <string>

namespace Copc
{
/// The one file of a data set: its header, and what is read of it by one range each.
///
/// Threads  all operations from any threads at once.
class OCTREE_API CopcFile
{
public:
    /// Opens the file, reads and checks what stands before the points.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    explicit CopcFile(const Octree::Location& location);

    /// Its name for messages.
    std::string name() const { return mFile.name(); }

    /// As it was when the file was opened.
    const CopcHeader& header() const noexcept { return mHeader; }

    /// The page of the hierarchy that begins with that node.
    /// @param extent  where it lies, not checked
    /// @return null when a stop was requested
    /// @throws std::runtime_error  naming the file and what is wrong with it
    std::shared_ptr<const Octree::NodeTable<NodeEntry>> readPage(
        const Octree::OctreeNodeId& first, const Extent& extent, const std::stop_token& stopToken
    ) const;

    /// Says that a page will soon be read, or that it will not; see Core::ByteSource::expect().
    bool expectPage(const Extent& extent) const noexcept;
    void forgetPage(const Extent& extent) const noexcept;

    /// A node's points as rows of Las::rowLayout(), in memory of `scratch`.
    /// @param entry  of more than 0 points
    /// @param las    the file's header, with or without rows of what was recorded
    /// @return false when a stop was requested
    /// @throws std::runtime_error  naming file and node, for a chunk that is not within the file, cannot hold
    ///                             so many points, holds others, or is broken
    bool readChunk(
        const NodeEntry& entry,
        const Las::LazHeader& las,
        const Octree::ScratchLoan& scratch,
        const std::stop_token& stopToken
    ) const;

    /// Says that a node's points will soon be read, or that they will not; see Core::ByteSource::expect().
    void expectChunk(const NodeEntry& entry) const noexcept;
    void forgetChunk(const NodeEntry& entry) const noexcept;

private:
    bool readRange(std::uint64_t offset, std::span<std::byte> out, const std::stop_token& stopToken) const;
    void checkChunk(const NodeEntry& entry) const;

    Core::ReopenedFile mFile;
    std::uint64_t mSize = 0;
    Core::SourceIdentity mIdentity;
    CopcHeader mHeader;
};
}  // namespace Copc
