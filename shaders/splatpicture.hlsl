#include "shaders/splats.hlsl"

// Last pass of the splat rasterizer: writes the winners into the targets, with their depth, so that they meet whatever
// else is drawn there by the depth test. Three vertices cover the viewport.
//
// Out:  as pointcloud.hlsl, and the depth

Buffer<uint> winners : register(t4);
Buffer<uint> depths : register(t5);

struct PictureOut
{
    float4 color : SV_TARGET0;
    float4 worldPosition : SV_TARGET1;
    float4 exactWorldPosition : SV_TARGET2;
    float depth : SV_DEPTH;
};

float4 vs_main(uint corner : SV_VertexID) : SV_POSITION
{
    return float4(corner == 1u ? 3.0 : -1.0, corner == 2u ? 3.0 : -1.0, 0.0, 1.0);
}

PictureOut ps_main(float4 pixel : SV_POSITION)
{
    const uint place = uint(pixel.y) * columns + uint(pixel.x);
    const uint winner = winners[place];
    if (winner == 0u)
    {
        clip(-1.0);  // not "discard", after which the compiler takes the depth for uninitialized
    }
    const uint order = orderOfKey(winner);
    const Chunk chunk = chunks[order / kChunkSize];
    if (chunk.window != window)
    {
        clip(-1.0);
    }

    const uint index = chunk.first + order % kChunkSize;
    const float4 position = float4(positionOf(index), 1.0);
    const Splat splat = splatOf(index, position);
    const float2 uv = float2(1.0, -1.0) * (pixel.xy - splat.center) / splat.radius;
    const float4 offset = float4(uv * float2(splat.size / aspect, splat.size), 0.0, 0.0);

    PictureOut result;
    result.color = pointColor(colorOf(index), intensityOf(index));
    result.exactWorldPosition = mul(model, position);
    result.worldPosition = result.exactWorldPosition + mul(inv_view_proj, offset);
    result.depth = depthOfKey(depths[place]);
    return result;
}
