#include "shaders/splats.hlsl"

// Second pass of the splat rasterizer: of the points that have a pixel's depth, the one that wins.

Buffer<uint> depths : register(t5);
RWBuffer<uint> winners : register(u0);

void visit(uint pixel, uint key, uint winner)
{
    if (depths[pixel] == key)
    {
        InterlockedMax(winners[pixel], winner);
    }
}

#include "shaders/splatpixels.hlsl"
