// Gives the picture an alpha that tells how much covers each pixel, a full-screen pass. Bound by StraightAlphaPass.
//
// In:   t0 color          BGRA8    the picture
//       t1 worldPosition  RGBA32F  w = 0 where no surface was drawn
//       t2 depth          R32F     of the scene; clear_depth where nothing was drawn with depth
//       b0 cbStraightAlpha, laid out like StraightAlphaConstants
// Out:  SV_TARGET0 BGRA8 the picture, its colour not multiplied by its alpha
// No vertex buffer: the quad is made from the vertex index.

static const int kSurfaces = 0;         // a pixel shows one thing or the background
static const int kTomographicDark = 1;  // white covers the background, and the picture shows it inverted
static const int kTomographicBright = 2;

cbuffer cbStraightAlpha : register(b0)
{
    float4 background;
    float opacity;
    float clear_depth;
    int kind;
    int padding;
};

Texture2D<float4> color : register(t0);
Texture2D<float4> worldPosition : register(t1);
Texture2D<float> depth : register(t2);

float4 vs_main(uint index : SV_VertexID) : SV_POSITION
{
    const float2 uv = float2((index >> 1) & 1, index & 1);
    return float4(lerp(-1.0, 1.0, uv.x), lerp(-1.0, 1.0, uv.y), 1.0, 1.0);
}

// How much white lies over the background, from the channel where that makes the most difference.
float coverage(float3 shown)
{
    const float3 back = background.rgb;
    const float least = min(back.r, min(back.g, back.b));
    const float value = back.r == least ? shown.r : back.g == least ? shown.g : shown.b;
    return least < 1.0 ? saturate((value - least) / (1.0 - least)) : 0.0;
}

float4 ps_main(float4 position : SV_POSITION) : SV_TARGET
{
    const int3 texel = int3(position.xy, 0);
    float4 result = color.Load(texel);
    if (kind == kSurfaces)
    {
        const bool isEmpty = worldPosition.Load(texel).w == 0.0 && depth.Load(texel) == clear_depth;
        result.a = isEmpty ? background.a * opacity : result.a;
        return result;
    }

    const float3 shown = kind == kTomographicDark ? 1.0 - result.rgb : result.rgb;
    const float white = coverage(shown);
    const float alpha = white + (1.0 - white) * background.a;
    if (background.a < 1.0)
    {
        const float3 mixed = (white + (1.0 - white) * background.a * background.rgb) / max(alpha, 1e-6);
        const float3 covered = alpha > 0.0 ? mixed : background.rgb;
        result.rgb = kind == kTomographicDark ? 1.0 - covered : covered;
    }
    result.a = alpha * opacity;
    return result;
}
