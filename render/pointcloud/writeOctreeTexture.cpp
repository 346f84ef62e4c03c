#include "render/pointcloud/writeOctreeTexture.h"

namespace Render
{
void writeOctreeTexture(std::span<const NodeRecord> records, std::vector<std::uint8_t>& texels)
{
    constexpr std::size_t kTexelSize = 4;
    texels.assign(records.size() * kTexelSize, 0);

    // The parents of ascending ids ascend as well, so one walk alongside finds them all.
    std::size_t parentPosition = 0;
    for (std::size_t i = 1; i < records.size(); ++i)
    {
        const Octree::OctreeNodeId& id = records[i].octreeNodeId;
        const Octree::OctreeNodeId parent = id.parent();
        while (records[parentPosition].octreeNodeId < parent)
        {
            ++parentPosition;  // stops at i at the latest, since a parent is less than its child
        }
        if (records[parentPosition].octreeNodeId != parent)
        {
            continue;
        }
        std::uint8_t* const texel = texels.data() + parentPosition * kTexelSize;
        if (texel[0] == 0)
        {
            const std::size_t offset =
                i - parentPosition;  // children ascend, so the first one found is the nearest
            texel[1] = static_cast<std::uint8_t>((offset >> 8U) & 0xFFU);
            texel[2] = static_cast<std::uint8_t>(offset & 0xFFU);
        }
        texel[0] = static_cast<std::uint8_t>(texel[0] | (1U << id.childIndex()));
    }
}
}  // namespace Render
