#include "shaders/splats.hlsl"

// Writes the level of the deepest drawn node around each point, once for each set of nodes that is drawn.
//
// One group of threads a chunk, one thread four points.

struct Node
{
    float3 corner;  // lowest of the node's cube, model coordinates
    uint texel;     // of the node in visibleNodes
    uint level;
};

StructuredBuffer<Node> nodes : register(t5);
RWByteAddressBuffer levelsOut : register(u0);

[numthreads(16, 1, 1)] void cs_main(uint3 group : SV_GroupID, uint lane : SV_GroupIndex)
{
    const uint order = group.y * kGroupsPerRow + group.x;
    if (order >= chunk_count)
    {
        return;
    }
    const Chunk chunk = chunks[order];
    if (4u * lane >= chunk.count || chunk.window != window)
    {
        return;
    }
    const Node node = nodes[chunk.node];
    const uint first = chunk.first + 4u * lane;
    const uint count = min(4u, chunk.count - 4u * lane);
    uint packed = 0u;
    for (uint i = 0u; i < count; ++i)
    {
        const float level =
            deepestLevel(positionOf(first + i), node.texel, float(node.level), node.corner);
        packed |= uint(level) << (8u * i);
    }
    levelsOut.Store(first, packed);
}
