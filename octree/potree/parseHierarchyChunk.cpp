#include "octree/potree/parseHierarchyChunk.h"

#include "octree/fileError.h"
#include "octree/nodeBox.h"

#include <bit>
#include <cstring>
#include <string>
#include <vector>

namespace PoTree
{
namespace
{
static_assert(std::endian::native == std::endian::little, "records are copied out as they lie in the file");

template <class T>
T valueAt(const std::byte* bytes) noexcept
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

void readRecord(const std::byte* record, Node& node, std::string_view file)
{
    const auto typeAndFlags = valueAt<std::uint8_t>(record);
    const unsigned type = typeAndFlags & 0xFU;
    if (type > static_cast<unsigned>(NodeType::Proxy))
    {
        throw Octree::fileError(
            file,
            "the record of node " + node.id.name() + " has type " + std::to_string(type) +
                ", expected 0, 1 or 2"
        );
    }
    node.type = static_cast<NodeType>(type);
    node.flags = static_cast<std::uint8_t>(typeAndFlags >> 4U);
    node.childMask = valueAt<std::uint8_t>(record + 1);
    node.pointCount = valueAt<std::uint32_t>(record + 2);
    node.byteOffset = valueAt<std::uint64_t>(record + 6);
    node.byteSize = valueAt<std::uint64_t>(record + 14);
}
}  // namespace

std::shared_ptr<Node> parseHierarchyChunk(
    std::span<const std::byte> chunk,
    const Octree::OctreeNodeId& first,
    const Math::NBoundingBox<double, 3>& box,
    std::string_view file
)
{
    const std::size_t recordCount = chunk.size() / kHierarchyRecordSize;
    if (recordCount == 0)
    {
        return nullptr;
    }

    auto root = std::make_shared<Node>(first, box);
    std::vector<Node*> queue{root.get()};
    for (std::size_t k = 0; k < queue.size(); ++k)
    {
        Node& node = *queue[k];
        readRecord(chunk.data() + k * kHierarchyRecordSize, node, file);
        if (node.type == NodeType::Proxy || node.id.level() == Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL)
        {
            continue;
        }
        for (unsigned i = 0; i < 8 && queue.size() < recordCount; ++i)
        {
            if (((node.childMask >> i) & 1U) != 0)
            {
                node.children[i] =
                    std::make_shared<Node>(node.id.child(i), Octree::childBox(node.boundingBox, i));
                queue.push_back(node.children[i].get());
            }
        }
    }
    return root;
}
}  // namespace PoTree
