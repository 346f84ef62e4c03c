#pragma once

#include "render/pointcloud/BoxWithColor.h"
#include "render/pointcloud/NodeRecord.h"
#include "render/pointcloud/PublishedVertices.h"

#include <cstdint>
#include <vector>

namespace Render
{
/// What a frame draws of one point cloud, handed from its loader thread to the render thread.
///
/// The vertices of a record lie in `vertices.blockAt(record.firstPoint)`, a block that stays the same from
/// publication to publication as long as the node is resident.
struct Buffer
{
    std::vector<std::uint8_t> octreeTextureData;  ///< 4 bytes per node, see writeOctreeTexture.h
    std::vector<NodeRecord> nodes;                ///< ascending by octreeNodeId
    PublishedVertices vertices;                   ///< the nodes' vertices one after the other
    std::vector<BoxWithColor> boundingBoxes;      ///< one per node, in no special order
};
}  // namespace Render
