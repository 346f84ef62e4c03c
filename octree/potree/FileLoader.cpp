#include "octree/potree/FileLoader.h"

#include "octree/fileError.h"

#include <exception>
#include <string>

namespace PoTree
{
namespace
{
constexpr const char* kHierarchyChunk = "a hierarchy chunk";

std::string rangeText(std::uint64_t offset, std::uint64_t size)
{
    return std::to_string(size) + " bytes from byte " + std::to_string(offset) + " on";
}

void checkRange(
    const Core::ByteSource& file,
    const std::string& what,
    std::uint64_t offset,
    std::uint64_t size,
    std::uint64_t maxSize
)
{
    if (size > maxSize)
    {
        throw Octree::fileError(
            file.name(),
            what + " takes " + rangeText(offset, size) + ", expected at most " + std::to_string(maxSize) +
                " bytes"
        );
    }
    const std::uint64_t fileSize = file.size();
    if (offset > fileSize || size > fileSize - offset)
    {
        throw Octree::fileError(
            file.name(),
            what + " takes " + rangeText(offset, size) + ", expected it within the file's " +
                std::to_string(fileSize) + " bytes"
        );
    }
}

template <class Read>
bool succeeds(const Read& read) noexcept
{
    try
    {
        return read();
    }
    catch (const std::exception&)
    {
        return false;
    }
}
}  // namespace

FileLoader::FileLoader(const std::shared_ptr<const Core::ByteFolder>& files)
    : mHierarchy(files, kFiles[0]), mOctree(files, kFiles[1])
{
}

bool FileLoader::fetchHierarchyChunk(
    std::uint64_t offset, std::uint64_t size, std::vector<std::byte>& out, std::stop_token stopToken
) const noexcept
{
    return succeeds([&] { return readHierarchyChunk(offset, size, out, stopToken); });
}

bool FileLoader::fetchOctreeChunk(
    const Node& node, std::uint64_t maxSize, std::vector<std::byte>& out, std::stop_token stopToken
) const noexcept
{
    return succeeds([&] { return readOctreeChunk(node, maxSize, out, stopToken); });
}

bool FileLoader::readHierarchyChunk(
    std::uint64_t offset, std::uint64_t size, std::vector<std::byte>& out, std::stop_token stopToken
) const
{
    if (stopToken.stop_requested())
    {
        return false;
    }
    return mHierarchy.use(
        [&](const Core::ByteSource& file)
        {
            checkRange(file, kHierarchyChunk, offset, size, kMaxHierarchyChunkSize);
            out.resize(static_cast<std::size_t>(size));
            return file.readAt(offset, out, stopToken);
        }
    );
}

void FileLoader::checkHierarchyChunk(std::uint64_t offset, std::uint64_t size) const
{
    mHierarchy.use([&](const Core::ByteSource& file)
                   { checkRange(file, kHierarchyChunk, offset, size, kMaxHierarchyChunkSize); });
}

bool FileLoader::readOctreeChunk(
    const Node& node, std::uint64_t maxSize, std::vector<std::byte>& out, std::stop_token stopToken
) const
{
    if (stopToken.stop_requested())
    {
        return false;
    }
    return mOctree.use(
        [&](const Core::ByteSource& file)
        {
            checkRange(file, "node " + node.id.name(), node.byteOffset, node.byteSize, maxSize);
            out.resize(static_cast<std::size_t>(node.byteSize));
            return file.readAt(node.byteOffset, out, stopToken);
        }
    );
}

// A chunk that cannot be is expected in vain, and reported when it is read.
bool FileLoader::expectHierarchyChunk(std::uint64_t offset, std::uint64_t size) const noexcept
{
    return size > kMaxHierarchyChunkSize ||
           mHierarchy.expect(offset, static_cast<std::size_t>(size), Core::Turn::First);
}

void FileLoader::forgetHierarchyChunk(std::uint64_t offset, std::uint64_t size) const noexcept
{
    mHierarchy.forget(offset, static_cast<std::size_t>(size));
}

void FileLoader::expectOctreeChunk(const Node& node) const noexcept
{
    mOctree.expect(node.byteOffset, static_cast<std::size_t>(node.byteSize));
}

void FileLoader::forgetOctreeChunk(const Node& node) const noexcept
{
    mOctree.forget(node.byteOffset, static_cast<std::size_t>(node.byteSize));
}
}  // namespace PoTree
