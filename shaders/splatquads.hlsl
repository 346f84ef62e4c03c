#include "shaders/splats.hlsl"

// Draws chunks as quads: one instance a chunk, four vertices a point, by an index buffer of two triangles each. The pixel
// stage is that of pointcloud.hlsl.

VertexOut vs_main(uint vertex : SV_VertexID, uint instance : SV_InstanceID)
{
    const Chunk chunk = chunks[instance];
    const uint lane = vertex >> 2u;
    if (lane >= chunk.count || chunk.window != window)
    {
        return noCorner();
    }
    const uint index = chunk.first + lane;
    const float4 position = float4(positionOf(index), 1.0);
    if (isCut(index, position))
    {
        return noCorner();
    }
    return splatCorner(position, colorOf(index, coloring, 0u), intensityOf(index), levelOf(index), vertex & 3u);
}
