#include "shaders/colorprocessing.hlsl"

// Draws the points of one octree node as round splats that face the screen. Bound by LoDPointCloud; one instance is one
// point, its four vertices are the splat's corners (triangle strip).
//
// In:   instance buffer, slot 0, 20 bytes   position in model coordinates, colour, intensity, class, scan index
//       b0 cbPerFrame, b1 cbPerOctreeNode   laid out like PerFrameConstants and PerOctreeNodeConstants
//       t0 visibleNodes                     RGBA8, one texel per drawn node: child mask, offset to the first child
// Out:  SV_TARGET0 BGRA8 colour, SV_TARGET1 RGBA32F position on the splat, SV_TARGET2 RGBA32F position of the point, both
//       in world coordinates with w = 1

// The numbers of RenderMode.
static const int kDefault = 0;
static const int kTomographicDark = 1;
static const int kTomographicBright = 2;
static const int kColorizeByNormal = 3;
static const int kColorizeByIntensity = 5;
static const int kUniformColor = 6;

static const int kPlaneCount = 8;
static const int kLevelCount = 22;

cbuffer cbPerFrame : register(b0)
{
    float4x4 model;
    float4x4 inv_model;
    float4x4 view;
    float4x4 proj;
    float4x4 model_view_proj;
    float4x4 inv_model_view_proj;
    float4x4 inv_view_proj;
    float4 clipping_planes[8];  // model coordinates; an unused one is zero and keeps everything
    float4 uniformColor;
    float near;
    float far;
    float width;   // of the viewport, pixels
    float height;
    float aspect;
    float point_size;      // half the width of a splat at level 0, model units
    float root_node_size;  // side of the root's cube, model units
    float max_point_size;  // pixels
    int point_render_mode;
    float tomo_contrast;
    float model_scale;  // world units per model unit
};

cbuffer cbPerOctreeNode : register(b1)
{
    float3 node_min;  // lowest corner of the node's cube, model coordinates
    uint node_index;  // texel of the node
    uint node_depth;
};

Texture1D<float4> visibleNodes : register(t0);

struct VertexIn
{
    float4 position : POS;  // w = 1 by the input assembler
    float4 color : COL;
    float intensity : INTENSITY;
    uint classIndex : CLASSINDEX;
    uint scanIndex : SCANINDEX;
    uint corner : SV_VertexID;
};

struct VertexOut
{
    float4 position : SV_POSITION;
    float4 color : COLOR0;
    float4 worldPosition : TEXCOORD0;
    float4 exactWorldPosition : TEXCOORD1;
    float2 uv : TEXCOORD2;  // -1 to 1 over the splat
};

struct PixelOut
{
    float4 color : SV_TARGET0;
    float4 worldPosition : SV_TARGET1;
    float4 exactWorldPosition : SV_TARGET2;
};

bool isClipped(float4 position)
{
    for (int i = 0; i < kPlaneCount; ++i)
    {
        if (dot(position, clipping_planes[i]) < 0.0)
        {
            return true;
        }
    }
    return false;
}

// Level of the deepest drawn node that holds the position, found by walking down from the node that has the texel, level
// and lowest corner.
float deepestLevel(float3 position, uint index, float depth, float3 corner)
{
    [loop] for (int level = 0; level < kLevelCount; ++level)
    {
        const float size = root_node_size / exp2(depth);
        const float3 upper = step(0.5, (position - corner) / size);  // 1 in the upper half of an axis
        const uint child = uint(4.0 * upper.x + 2.0 * upper.y + upper.z);
        const float4 texel = visibleNodes.Load(int2(int(index), 0));
        const uint mask = uint(texel.r * 255.0 + 0.5);
        if ((mask & (1u << child)) == 0u)
        {
            break;
        }
        const uint offset = uint(texel.g * 255.0 + 0.5) * 256u + uint(texel.b * 255.0 + 0.5);
        index += offset + countbits(mask & ((1u << child) - 1u));
        depth += 1.0;
        corner += 0.5 * size * upper;
    }
    return depth;
}

float4 shownColor(float4 color, float intensity, int mode, float4 uniformValue)
{
    float4 result = float4(0.0, 0.0, 0.0, 0.0);
    if (mode == kDefault || mode == kColorizeByNormal)
    {
        result = color;
    }
    else if (mode == kColorizeByIntensity)
    {
        result = gray(intensity);
    }
    else if (mode == kUniformColor)
    {
        const float mean = (color.r + color.g + color.b) / 3.0;
        result = float4(mean, mean, mean, 1.0) * uniformValue;
    }
    return result;
}

float4 pointColor(float4 color, float intensity)
{
    return shownColor(color, intensity, point_render_mode, uniformColor);
}

// Half the splat's side in clip space; at its borders one pixel and max_point_size pixels.
float splatSize(float level, float w)
{
    const float pointSize = model_scale * point_size / exp2(level) * abs(proj._22);
    return clamp(pointSize, 1.0 / height * w, max_point_size / height * w);
}

// A corner of a splat that vanishes: w = 0.
VertexOut noCorner()
{
    VertexOut result;
    result.position = float4(0.0, 0.0, 0.0, 0.0);
    result.color = float4(0.0, 0.0, 0.0, 0.0);
    result.worldPosition = float4(0.0, 0.0, 0.0, 0.0);
    result.exactWorldPosition = float4(0.0, 0.0, 0.0, 0.0);
    result.uv = float2(0.0, 0.0);
    return result;
}

// A corner, 0 to 3 in the order of a triangle strip, of the splat of a point.
VertexOut splatCorner(float4 position, float4 color, float intensity, float level, uint corner)
{
    VertexOut result;
    result.position = mul(model_view_proj, position);
    const float size = splatSize(level, result.position.w);
    result.uv = float2(((corner >> 1) & 1u) != 0u ? 1.0 : -1.0, (corner & 1u) != 0u ? 1.0 : -1.0);
    const float4 offset = float4(result.uv * float2(size / aspect, size), 0.0, 0.0);
    result.position += offset;
    result.color = pointColor(color, intensity);
    result.exactWorldPosition = mul(model, position);
    result.worldPosition = result.exactWorldPosition + mul(inv_view_proj, offset);
    return result;
}

VertexOut vs_main(VertexIn input)
{
    if (isClipped(input.position))
    {
        return noCorner();
    }
    const float level = deepestLevel(input.position.xyz, node_index, float(node_depth), node_min);
    return splatCorner(input.position, input.color, input.intensity, level, input.corner);
}

PixelOut ps_main(VertexOut input)
{
    const float x = 1.0 - length(input.uv);
    if (x < 0.0)
    {
        discard;
    }

    PixelOut result;
    result.color = float4(0.0, 0.0, 0.0, 0.0);
    if (point_render_mode == kTomographicDark || point_render_mode == kTomographicBright)
    {
        result.color = float4(1.0, 1.0, 1.0, tomo_contrast * smoothstep(0.0, 1.0, x));
    }
    else if (point_render_mode == kDefault || point_render_mode == kColorizeByNormal ||
             point_render_mode == kColorizeByIntensity || point_render_mode == kUniformColor)
    {
        result.color = input.color;
    }
    result.worldPosition = input.worldPosition;
    result.exactWorldPosition = input.exactWorldPosition;
    return result;
}
