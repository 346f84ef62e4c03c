#pragma once

#include "core/ByteFolder.h"
#include "core/ReopenedFile.h"
#include "octree/Export.h"
#include "octree/potree/FileSystemLocation.h"
#include "octree/potree/Node.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace PoTree
{
/// Reads pieces of hierarchy.bin and octree.bin.
///
/// The files stay open, so a local one that is deleted meanwhile can still be read where the system allows
/// that; one that changes is an error. After an error the file is opened anew.
///
/// Threads  all operations from any threads at once.
class FileLoader
{
public:
    /// Opens both files.
    /// @throws std::runtime_error  naming the file that cannot be opened
    /// @param files  not null
    OCTREE_API explicit FileLoader(const std::shared_ptr<const Core::ByteFolder>& files);

    /// The same for a local folder.
    explicit FileLoader(const FileSystemLocation& location) : FileLoader(location.files()) {}

    /// Reads a hierarchy chunk.
    /// @param size  bytes, at most kMaxHierarchyChunkSize
    /// @param out   replaced by the bytes; unspecified after a failure
    /// @return false when a stop was requested or the bytes cannot be read; readHierarchyChunk() tells why
    OCTREE_API bool fetchHierarchyChunk(
        std::uint64_t offset, std::uint64_t size, std::vector<std::byte>& out, std::stop_token stopToken
    ) const noexcept;

    /// Reads a node's points as they are stored.
    /// @param maxSize  most bytes that the node's points can take
    /// @param out      replaced by the bytes; unspecified after a failure
    /// @return false when a stop was requested or the bytes cannot be read; readOctreeChunk() tells why
    OCTREE_API bool fetchOctreeChunk(
        const Node& node, std::uint64_t maxSize, std::vector<std::byte>& out, std::stop_token stopToken
    ) const noexcept;

    /// The same as fetchHierarchyChunk(), but a failure is thrown.
    /// @param size  bytes, at most kMaxHierarchyChunkSize
    /// @param out   replaced by the bytes
    /// @return false when a stop was requested
    /// @throws std::runtime_error  naming the file when the range is not within it or the size is above the
    ///                             limit; nothing is allocated before that is known
    OCTREE_API bool readHierarchyChunk(
        std::uint64_t offset, std::uint64_t size, std::vector<std::byte>& out, std::stop_token stopToken
    ) const;

    /// The same as fetchOctreeChunk(), but a failure is thrown.
    /// @param maxSize  most bytes that the node's points can take
    /// @param out      replaced by the bytes
    /// @return false when a stop was requested
    /// @throws std::runtime_error  naming file and node when the range is not within the file or longer
    ///                             than maxSize
    OCTREE_API bool readOctreeChunk(
        const Node& node, std::uint64_t maxSize, std::vector<std::byte>& out, std::stop_token stopToken
    ) const;

    /// Says that a node's points will soon be read, or that they will not; see Core::ByteSource::expect().
    void expectOctreeChunk(const Node& node) const noexcept;
    void forgetOctreeChunk(const Node& node) const noexcept;

    /// Looks at the place of a hierarchy chunk without reading it.
    /// @throws std::runtime_error  naming the file, as readHierarchyChunk()
    OCTREE_API void checkHierarchyChunk(std::uint64_t offset, std::uint64_t size) const;

    /// Says that a hierarchy chunk will soon be read, or that it will not; see Core::ByteSource::expect().
    bool expectHierarchyChunk(std::uint64_t offset, std::uint64_t size) const noexcept;
    void forgetHierarchyChunk(std::uint64_t offset, std::uint64_t size) const noexcept;

    /// The name of hierarchy.bin, for messages.
    std::string hierarchyFile() const { return mHierarchy.name(); }

    /// The name of octree.bin, for messages.
    std::string octreeFile() const { return mOctree.name(); }

    /// What is opened, in this order.
    static constexpr std::array<const char*, 2> kFiles{"hierarchy.bin", "octree.bin"};

    /// Eighty times the largest chunk of four levels; its nodes take about 90 MB.
    static constexpr std::uint64_t kMaxHierarchyChunkSize = 8U << 20U;

private:
    Core::ReopenedFile mHierarchy;
    Core::ReopenedFile mOctree;
};
}  // namespace PoTree
