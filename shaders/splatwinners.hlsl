#include "shaders/splats.hlsl"

// Second pass of the splat rasterizer: of the points that have a pixel's depth, the one that wins.
//
// One group of threads a chunk, one thread a point.

Buffer<uint> depths : register(t4);
RWBuffer<uint> winners : register(u0);

[numthreads(64, 1, 1)] void cs_main(uint3 group : SV_GroupID, uint lane : SV_GroupIndex)
{
    const uint order = group.y * kGroupsPerRow + group.x;
    if (order >= chunk_count)
    {
        return;
    }
    const Chunk chunk = chunks[order];
    if (lane >= chunk.count || chunk.window != window)
    {
        return;
    }
    const uint index = chunk.first + lane;
    const float4 position = float4(positionOf(index), 1.0);
    if (isCut(position))
    {
        return;
    }
    const Splat splat = splatOf(index, position);
    if (!isInDepthRange(splat))
    {
        return;
    }

    const uint key = depthKey(splat.depth);
    const uint winner = orderKey(first_order + order * kChunkSize + lane);
    const int2 first = firstPixel(splat);
    const int2 last = lastPixel(splat);
    for (int y = first.y; y <= last.y; ++y)
    {
        const float chord = halfChord(splat, y);
        const int from = max(first.x, int(ceil(splat.center.x - chord - 0.5)));
        const int to = min(last.x, int(floor(splat.center.x + chord - 0.5)));
        for (int x = from; x <= to; ++x)
        {
            const uint pixel = uint(y) * columns + uint(x);
            if (depths[pixel] == key)
            {
                InterlockedMax(winners[pixel], winner);
            }
        }
    }
}
