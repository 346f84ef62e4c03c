#include "octree/copc/CopcFile.h"

#include "octree/NodeCell.h"
#include "octree/fileError.h"
#include "octree/kMaxPointsPerNode.h"
#include "octree/las/decodeChunks.h"
#include "octree/naming.h"
#include "octree/unpackedSize.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Copc
{
namespace
{
/// More than a chunk of that many points takes with records of the longest allowed.
std::uint64_t largestChunk(std::uint64_t pointCount)
{
    constexpr std::uint64_t kSizesOfLayers = 64U << 10U;
    constexpr std::uint64_t kPoint = 2048;
    return std::min(Octree::kMaxUnpackedSize, kSizesOfLayers + pointCount * kPoint);
}

[[noreturn]] void failChunk(const std::string& what, const std::string& expected)
{
    throw std::runtime_error(what + ", expected " + expected);
}

/// Puts the names of a file and of a part of it before what goes wrong in `step`.
template <class Step>
auto namingPart(const std::string& file, const std::string& part, const Step& step)
{
    const auto inPart = [&]
    {
        try
        {
            return step();
        }
        catch (const std::runtime_error& error)
        {
            throw std::runtime_error(part + ": " + error.what());
        }
    };
    return Octree::naming(file, inPart);
}
}  // namespace

CopcFile::CopcFile(const Octree::Location& location) : mFile(location.files(), location.file())
{
    mFile.use(
        [this](const Core::ByteSource& file)
        {
            mSize = file.size();
            mIdentity = file.identity();
            mHeader = *readCopcHeader(file);  // nobody asks for a stop
        }
    );
}

// A file that was replaced is another one, whose header nobody has read.
bool CopcFile::readRange(std::uint64_t offset, std::span<std::byte> out, const std::stop_token& stopToken)
    const
{
    const auto read = [&](const Core::ByteSource& file)
    {
        if (!(file.identity() == mIdentity))
        {
            throw Octree::fileError(
                file.name(), "another file than was opened at first, expected one that stays as it is"
            );
        }
        return file.readAt(offset, out, stopToken);
    };
    return mFile.use(read);
}

std::shared_ptr<const Octree::NodeTable<NodeEntry>> CopcFile::readPage(
    const Octree::OctreeNodeId& first, const Extent& extent, const std::stop_token& stopToken
) const
{
    Octree::naming(name(), [&] { checkPage(extent, mSize); });
    std::vector<std::byte> bytes(static_cast<std::size_t>(extent.size));
    if (!readRange(extent.offset, bytes, stopToken))
    {
        return nullptr;
    }
    return namingPart(
        name(),
        "hierarchy page at byte " + std::to_string(extent.offset),
        [&] { return std::make_shared<const Octree::NodeTable<NodeEntry>>(parseHierarchyPage(bytes, first)); }
    );
}

// A page that cannot be is expected in vain, and reported when it is read.
bool CopcFile::expectPage(const Extent& extent) const noexcept
{
    return extent.size > kMaxPageSize ||
           mFile.expect(extent.offset, static_cast<std::size_t>(extent.size), Core::Turn::First);
}

void CopcFile::forgetPage(const Extent& extent) const noexcept
{
    mFile.forget(extent.offset, static_cast<std::size_t>(extent.size));
}

void CopcFile::checkChunk(const NodeEntry& entry) const
{
    const auto points = static_cast<std::uint64_t>(entry.count);
    if (points > Octree::kMaxPointsPerNode)
    {
        failChunk(
            "the hierarchy announces " + std::to_string(points) + " points",
            "at most " + std::to_string(Octree::kMaxPointsPerNode)
        );
    }
    const std::uint64_t begin = mHeader.las.pointsBegin;
    const std::string place = std::to_string(entry.size) + " bytes at byte " + std::to_string(entry.offset);
    if (entry.offset < begin || entry.offset > mSize || entry.size > mSize - entry.offset)
    {
        failChunk(
            "a chunk of " + place,
            "one within bytes " + std::to_string(begin) + " to " + std::to_string(mSize)
        );
    }
    if (entry.size > largestChunk(points))
    {
        failChunk(
            "a chunk of " + std::to_string(entry.size) + " bytes",
            "at most " + std::to_string(largestChunk(points)) + " for " + std::to_string(points) + " points"
        );
    }
}

bool CopcFile::readChunk(
    const NodeEntry& entry,
    const Las::LazHeader& las,
    const Octree::ScratchLoan& scratch,
    const std::stop_token& stopToken
) const
{
    const std::string node = "node " + Octree::cellName(entry.id);
    namingPart(name(), node, [&] { checkChunk(entry); });
    scratch.stored.resize(entry.size);
    if (!readRange(entry.offset, scratch.stored, stopToken))
    {
        return false;
    }
    return namingPart(
        name(),
        node,
        [&]
        {
            return Las::decodeChunk(
                scratch.stored, static_cast<std::uint32_t>(entry.count), las, scratch.unpacked, stopToken
            );
        }
    );
}

void CopcFile::expectChunk(const NodeEntry& entry) const noexcept
{
    mFile.expect(entry.offset, entry.size);
}

void CopcFile::forgetChunk(const NodeEntry& entry) const noexcept
{
    mFile.forget(entry.offset, entry.size);
}
}  // namespace Copc
