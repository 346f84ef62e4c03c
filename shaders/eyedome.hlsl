// Eye-dome lighting, a full-screen pass: darkens pixels before which their neighbours stand. Bound by EyeDomePass.
//
// In:   t0 color  BGRA8  the picture
//       t1 depth  R32F   of the scene; clear_depth where nothing was drawn
//       b0 cbEyeDome, laid out like EyeDomeConstants
// Out:  SV_TARGET0 BGRA8 the picture, its alpha unchanged
// No vertex buffer: the quad is made from the vertex index.

cbuffer cbEyeDome : register(b0)
{
    float4 depth_of_distance;  // the projection's elements (2, 2), (2, 3), (3, 2), (3, 3)
    float min_depth;           // of the viewport
    float depth_factor;        // 1 / (its greatest depth - min_depth)
    float clear_depth;
    float darkening;  // what a mean step of 1 multiplies the logarithm of the colour's factor by
    int straight;     // from a pixel to the neighbours beside, above and below, pixels
    int diagonal;     // to the four others, across and down each
    int columns;
    int rows;
};

Texture2D<float4> color : register(t0);
Texture2D<float> depth : register(t1);

float4 vs_main(uint index : SV_VertexID) : SV_POSITION
{
    const float2 uv = float2((index >> 1) & 1, index & 1);
    return float4(lerp(-1.0, 1.0, uv.x), lerp(-1.0, 1.0, uv.y), 1.0, 1.0);
}

// Differences of it are steps in depth: of a perspective relative to the distance, so the logarithm.
float measured(float value)
{
    const float z = (value - min_depth) * depth_factor;
    const float distance = (depth_of_distance.y - z * depth_of_distance.w) / (depth_of_distance.x - z * depth_of_distance.z);
    return depth_of_distance.z == 0.0 ? distance : log(max(abs(distance), 1e-30));
}

// How far the neighbour stands before what has been measured.
float stepTo(int2 texel, float here)
{
    float result = 0.0;
    if (texel.x >= 0 && texel.y >= 0 && texel.x < columns && texel.y < rows)
    {
        const float there = depth.Load(int3(texel, 0));
        if (there != clear_depth)
        {
            result = max(0.0, here - measured(there));
        }
    }
    return result;
}

float4 ps_main(float4 position : SV_POSITION) : SV_TARGET
{
    const int2 texel = int2(position.xy);
    float4 result = color.Load(int3(texel, 0));
    const float own = depth.Load(int3(texel, 0));
    if (own != clear_depth)
    {
        const float here = measured(own);
        float sum = 0.0;
        sum += stepTo(texel + int2(-straight, 0), here);
        sum += stepTo(texel + int2(straight, 0), here);
        sum += stepTo(texel + int2(0, -straight), here);
        sum += stepTo(texel + int2(0, straight), here);
        sum += stepTo(texel + int2(-diagonal, -diagonal), here);
        sum += stepTo(texel + int2(diagonal, -diagonal), here);
        sum += stepTo(texel + int2(-diagonal, diagonal), here);
        sum += stepTo(texel + int2(diagonal, diagonal), here);
        result.rgb *= exp(-darkening * sum / 8.0);
    }
    return result;
}
