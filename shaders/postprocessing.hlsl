#include "shaders/colorprocessing.hlsl"

// The full-screen pass that turns the scene pass's targets into the picture. Bound by PostProcess.
//
// In:   t0 color               BGRA8    the scene's colours; where nothing was drawn, the background
//       t1 worldPosition       RGBA32F  interpolated position in world coordinates; w = 0 where nothing was drawn
//       t2 exactWorldPosition  RGBA32F  position of the drawn point itself, world coordinates
//       b0 cbConstant
// Out:  SV_TARGET0 BGRA8 the picture, SV_TARGET1 RGBA32F worldPosition unchanged
// No vertex buffer: the quad is made from the vertex index.
//
// Devices that evaluate all branches of a switch, software ones above all, pay for modes that a frame does not use.
// POST_PROCESS_MODES says which ones a compilation of this source serves; by itself it serves all.

#define ALL_MODES 0
#define COLOR_MODES 1        // 0, 5, 6
#define TOMOGRAPHIC_MODES 2  // 1, 2
#define NORMAL_MODE 3        // 3
#define DISTANCE_MODE 4      // 4
#ifndef POST_PROCESS_MODES
#define POST_PROCESS_MODES ALL_MODES
#endif

// The numbers of RenderMode.
static const int kDefault = 0;
static const int kTomographicDark = 1;
static const int kTomographicBright = 2;
static const int kColorizeByNormal = 3;
static const int kColorizeByPlaneDistance = 4;
static const int kColorizeByIntensity = 5;
static const int kUniformColor = 6;

// PostProcess fills these 96 bytes; it puts its background colour at byte 20, here bg_color starts at byte 32.
// bg_color is never read.
cbuffer cbConstant : register(b0)
{
    float width;
    float height;
    float brightness;
    float contrast;
    float opacity;
    float4 bg_color;
    float4 colorization_start;
    float4 colorization_end;
    int point_render_mode;
    int color_map;
};

Texture2D<float4> color : register(t0);
Texture2D<float4> worldPosition : register(t1);
Texture2D<float4> exactWorldPosition : register(t2);

struct VertexOut
{
    float4 position : SV_POSITION;
    float2 uv : TEXCOORD0;
};

struct PixelOut
{
    float4 color : SV_TARGET0;
    float4 worldPosition : SV_TARGET1;
};

// A triangle strip over the whole target; uv (0, 0) is its lower left corner.
VertexOut vs_main(uint index : SV_VertexID)
{
    VertexOut result;
    result.uv = float2((index >> 1) & 1, index & 1);
    result.position = float4(lerp(-1.0, 1.0, result.uv.x), lerp(-1.0, 1.0, result.uv.y), 1.0, 1.0);
    return result;
}

// From the texel and its left and upper neighbours, in world coordinates.
float3 surfaceNormal(int2 texel)
{
    const float3 here = worldPosition.Load(int3(texel, 0)).xyz;
    const float3 t = here - worldPosition.Load(int3(texel - int2(1, 0), 0)).xyz;
    const float3 b = here - worldPosition.Load(int3(texel - int2(0, 1), 0)).xyz;
    return normalize(cross(t, b));
}

float4 emptyPixelColor(float4 col)
{
    return point_render_mode == kTomographicDark ? float4(1.0 - col.rgb, 1.0) : col;
}

// In the tomographic modes the scene is grey, and its grey is the coverage.
float4 tomographicColor(float4 col)
{
    return float4(point_render_mode == kTomographicDark ? 1.0 - col.rgb : col.rgb, col.r);
}

float4 planeDistanceColor(int2 texel)
{
    return colorizeByPlaneDistance(
        exactWorldPosition.Load(int3(texel, 0)).xyz, colorization_start.xyz, colorization_end.xyz, color_map
    );
}

float4 pointColor(float4 col, int2 texel)
{
#if POST_PROCESS_MODES == COLOR_MODES
    return point_render_mode == kDefault ? adjustBrightnessContrast(col, brightness, contrast) : col;
#elif POST_PROCESS_MODES == TOMOGRAPHIC_MODES
    return tomographicColor(col);
#elif POST_PROCESS_MODES == NORMAL_MODE
    return colorizeByNormal(surfaceNormal(texel));
#elif POST_PROCESS_MODES == DISTANCE_MODE
    return planeDistanceColor(texel);
#else
    float4 result = float4(0.0, 0.0, 0.0, 0.0);
    [branch] switch (point_render_mode)
    {
        case kDefault:
            result = adjustBrightnessContrast(col, brightness, contrast);
            break;
        case kTomographicDark:
        case kTomographicBright:
            result = tomographicColor(col);
            break;
        case kColorizeByNormal:
            result = colorizeByNormal(surfaceNormal(texel));
            break;
        case kColorizeByPlaneDistance:
            result = planeDistanceColor(texel);
            break;
        case kColorizeByIntensity:
        case kUniformColor:
            result = col;
            break;
    }
    return result;
#endif
}

// The texel that belongs to uv. Beside the borders of targets of some thousand pixels the place lies so close to the
// middle of two texels that rounding errors decide between them; the one under the pixel is meant.
int2 texelAt(float2 uv, float2 pixel)
{
    const float kNearlyHalf = 0.505;
    const float2 place = lerp(float2(0.0, height - 1.0), float2(width - 1.0, 0.0), uv);
    const float2 own = floor(pixel);
    return int2(abs(place - own) < kNearlyHalf ? own : round(place));
}

PixelOut ps_main(VertexOut input)
{
    const int2 texel = texelAt(input.uv, input.position.xy);

    PixelOut result;
    result.worldPosition = worldPosition.Load(int3(texel, 0));
    const float4 col = float4(color.Load(int3(texel, 0)).rgb, 1.0);
    if (result.worldPosition.w == 0.0)
    {
        result.color = emptyPixelColor(col);
    }
    else
    {
        result.color = pointColor(col, texel);
    }
    result.color.a *= opacity;
    return result;
}
