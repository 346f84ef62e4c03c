#include "shaders/splats.hlsl"

// First pass of the splat rasterizer: the nearest depth of each pixel.

RWBuffer<uint> depths : register(u0);

void visit(uint pixel, uint key, uint winner)
{
    if (depths[pixel] < key)  // most are hidden; looking is cheaper than the atomic operation
    {
        InterlockedMax(depths[pixel], key);
    }
}

#include "shaders/splatpixels.hlsl"
