// Visits the pixels of each point: one group of threads a chunk, one thread a point.
//
// The source that includes this one includes shaders/splats.hlsl before and defines
// void visit(uint pixel, uint key, uint winner): the pixel's place in the buffers, the point's depth key, and
// the key by which it wins among points of one depth.

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
    if (isCut(index, position))
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
            visit(uint(y) * columns + uint(x), key, winner);
        }
    }
}
