#pragma once

#include "render/gpu/VertexFormats.h"
#include "render/pointcloud/BoxWithColor.h"
#include "render/pointcloud/NodeRecord.h"

#include <cstdint>
#include <vector>

namespace Render
{
/// What a frame draws of one point cloud, handed from its loader thread to the render thread.
struct Buffer
{
    std::vector<std::uint8_t> octreeTextureData;  ///< 4 bytes per node, see writeOctreeTexture.h
    std::vector<NodeRecord> nodes;                ///< ascending by octreeNodeId
    std::vector<VertexPosColorIntensityClassIndexScanIndex>
        vertices;                             ///< the nodes' vertices one after the other
    std::vector<BoxWithColor> boundingBoxes;  ///< one per node, in no special order
};
}  // namespace Render
