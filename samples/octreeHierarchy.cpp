#include "samples/octreeHierarchy.h"

#include "samples/littleEndian.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <stdexcept>

namespace Samples
{
namespace
{
constexpr std::size_t kRecordSize = 22;
constexpr unsigned kNormal = 0;
constexpr unsigned kLeaf = 1;
constexpr unsigned kProxy = 2;

/// A root with the nodes down to stepSize levels below it, breadth first.
struct Chunk
{
    std::vector<const HierarchyNode*> nodes;
    std::uint64_t offset = 0;

    std::uint64_t size() const { return nodes.size() * kRecordSize; }
};

void appendRecord(
    std::string& bytes,
    unsigned type,
    unsigned flags,
    unsigned childMask,
    std::uint64_t pointCount,
    std::uint64_t offset,
    std::uint64_t size
)
{
    appendLittleEndian(bytes, static_cast<std::uint8_t>(type | flags << 4U));
    appendLittleEndian(bytes, static_cast<std::uint8_t>(childMask));
    appendLittleEndian(bytes, static_cast<std::uint32_t>(pointCount));
    appendLittleEndian(bytes, offset);
    appendLittleEndian(bytes, size);
}
}  // namespace

void completeTree(std::vector<HierarchyNode>& nodes)
{
    std::map<Octree::OctreeNodeId, HierarchyNode> all;
    all[{}] = {};
    std::set<Octree::OctreeNodeId> given;
    for (const HierarchyNode& node : nodes)
    {
        if (!given.insert(node.node.id).second)
        {
            throw std::invalid_argument("Node " + node.node.id.name() + " is given twice");
        }
        all[node.node.id] = node;
        for (Octree::OctreeNodeId id = node.node.id; !id.isRoot(); id = id.parent())
        {
            HierarchyNode& parent = all[id.parent()];
            parent.node.id = id.parent();
        }
    }
    for (const auto& [id, node] : all)
    {
        if (!id.isRoot())
        {
            all[id.parent()].node.childMask |= 1U << id.childIndex();
        }
    }
    nodes.clear();
    for (const auto& [id, node] : all)
    {
        nodes.push_back(node);
    }
}

Hierarchy encodeHierarchy(const std::vector<HierarchyNode>& nodes, unsigned stepSize, RecordTypes recordTypes)
{
    const auto isChunkRoot = [&](const HierarchyNode& node)
    { return node.node.id.isRoot() || (node.node.id.level() % stepSize == 0 && node.node.childMask != 0); };

    std::map<Octree::OctreeNodeId, Chunk> chunks;  // by root; the root's own is first
    for (const HierarchyNode& node : nodes)
    {
        if (isChunkRoot(node))
        {
            chunks[node.node.id].nodes.push_back(&node);
        }
        if (!node.node.id.isRoot())
        {
            Octree::OctreeNodeId root = node.node.id.parent();
            while (root.level() % stepSize != 0)
            {
                root = root.parent();
            }
            chunks[root].nodes.push_back(&node);
        }
    }
    std::uint64_t end = 0;
    for (auto& [id, chunk] : chunks)
    {
        chunk.offset = end;
        end += chunk.size();
    }

    Hierarchy hierarchy;
    hierarchy.firstChunkSize = static_cast<std::size_t>(chunks.begin()->second.size());
    for (const auto& [rootId, chunk] : chunks)
    {
        for (const HierarchyNode* entry : chunk.nodes)
        {
            const WrittenNode& node = entry->node;
            const bool isRoot = node.id == rootId;
            if (!isRoot && isChunkRoot(*entry))
            {
                const Chunk& own = chunks.at(node.id);
                appendRecord(
                    hierarchy.bytes, kProxy, entry->flags, 0, node.pointCount, own.offset, own.size()
                );
                ++hierarchy.proxyCount;
                continue;
            }
            const bool truthful = recordTypes == RecordTypes::Truthful;
            const unsigned type = (truthful ? node.childMask == 0 : !isRoot) ? kLeaf : kNormal;
            appendRecord(
                hierarchy.bytes,
                type,
                entry->flags,
                node.childMask,
                node.pointCount,
                node.byteOffset,
                node.byteSize
            );
        }
    }
    return hierarchy;
}
}  // namespace Samples
