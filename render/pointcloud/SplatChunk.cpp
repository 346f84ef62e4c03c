#include "render/pointcloud/SplatChunk.h"

#include <algorithm>

namespace Render
{
void writeSplatChunks(
    std::span<const DrawnNode> nodes, std::vector<SplatChunk>& chunks, std::vector<SplatNode>& table
)
{
    chunks.clear();
    table.clear();
    for (const DrawnNode& node : nodes)
    {
        const NodeRecord& record = node.record;
        for (std::uint64_t done = 0; done < record.pointCount; done += SplatChunk::kMostPoints)
        {
            chunks.push_back({
                .first = node.slot.first + static_cast<std::uint32_t>(done),
                .count = static_cast<std::uint32_t>(
                    std::min<std::uint64_t>(record.pointCount - done, SplatChunk::kMostPoints)
                ),
                .node = static_cast<std::uint32_t>(table.size()),
                .window = node.slot.window,
            });
        }
        table.push_back({
            .corner = {record.boxMin.x, record.boxMin.y, record.boxMin.z},
            .texel = static_cast<std::uint32_t>(record.index),
            .level = static_cast<std::uint32_t>(record.level),
        });
    }
}
}  // namespace Render
