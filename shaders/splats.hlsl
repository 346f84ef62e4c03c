#include "shaders/pointcloud.hlsl"

// What the shaders of the splat rasterizer share, which draws the same splats as pointcloud.hlsl without triangles. Bound
// by SplatRasterizer. Functions and declarations only.
//
// The points of a frame come in chunks of up to 64, in the order in which they are drawn. A point's place in that order is
// its chunk's number times 64 and its place in the chunk.
//
// In:   b0 cbPerFrame, b2 cbSplats   laid out like PerFrameConstants and SplatConstants
//       t1 chunks, t2 points, t3 levels, t4 look

static const uint kChunkSize = 64u;
static const uint kGroupsPerRow = 65535u;  // most groups of one dimension of a dispatch
static const uint kBytesPerPoint = 20u;

cbuffer cbSplats : register(b2)
{
    float2 viewport_min;   // pixels
    float2 viewport_size;  // pixels
    float min_depth;
    float max_depth;
    uint columns;  // of the pixel buffers
    uint rows;
    uint chunk_count;
    uint window;         // the buffer of points that is bound
    uint plane_count;    // planes in force
    uint depth_test;     // 0 none, 1 less is nearer, 2 greater is nearer
    uint order_flip;     // among equal depths: 0 the last drawn wins, all bits the first
    uint first_order;    // place of the first chunk's first point among all clouds that share a picture
    uint coloring;       // number of a PointColoring
    uint is_filtered;    // whether points may be hidden by what they are
};

struct Chunk
{
    uint first;   // its first point in the buffer, a multiple of 4
    uint count;   // 1 to 64
    uint node;    // row of the node table
    uint window;  // the buffer of its points
};

StructuredBuffer<Chunk> chunks : register(t1);
ByteAddressBuffer points : register(t2);  // 20 bytes a point, laid out like the vertices
ByteAddressBuffer levels : register(t3);  // a byte a point: level of the deepest drawn node around it
StructuredBuffer<uint> look : register(t4);  // laid out like PointLookData, read where coloring or is_filtered asks for it

// The numbers of PointColoring.
static const uint kStoredColors = 0u;
static const uint kColorsByIntensity = 1u;
static const uint kColorsByClass = 2u;
static const uint kColorsByScan = 3u;

// Where PointLookData has what, behind its table of colours.
static const uint kClassesInLook = 256u;
static const uint kLeastIntensityInLook = 264u;
static const uint kGreatestIntensityInLook = 265u;
static const uint kScansInLook = 266u;

// A point on the screen.
struct Splat
{
    float4 clip;    // position in clip space
    float size;     // half its side in clip space
    float2 center;  // pixels
    float2 radius;  // pixels
    float depth;    // as the depth buffer holds it
};

float3 positionOf(uint index)
{
    return asfloat(points.Load3(index * kBytesPerPoint));
}

// Level of the deepest drawn node around the point.
float levelOf(uint index)
{
    return float((levels.Load(index & ~3u) >> (8u * (index & 3u))) & 255u);
}

// Intensity, class and scan index: 8, 8 and 16 bits from the lowest on.
uint attributesOf(uint index)
{
    return points.Load(index * kBytesPerPoint + 16u);
}

// Red, green, blue, alpha from 0 to 1.
float4 unpacked(uint bits)
{
    return float4((bits >> 16u) & 255u, (bits >> 8u) & 255u, bits & 255u, bits >> 24u) / 255.0;
}

// The point's colour, by a table of 256 colours that begins there where the cloud is coloured by something else.
float4 colorOf(uint index, uint by, uint table)
{
    uint bits = points.Load(index * kBytesPerPoint + 12u);
    if (by != kStoredColors)
    {
        const uint attributes = attributesOf(index);
        const uint shift = by == kColorsByIntensity ? 0u : by == kColorsByClass ? 8u : 16u;
        bits = look[table + ((attributes >> shift) & 255u)];
    }
    return unpacked(bits);
}

bool isInLook(uint set, uint number)
{
    return ((look[set + (number >> 5u)] >> (number & 31u)) & 1u) != 0u;
}

bool isHidden(uint index)
{
    const uint attributes = attributesOf(index);
    const uint intensity = attributes & 255u;
    return !isInLook(kClassesInLook, (attributes >> 8u) & 255u) || intensity < look[kLeastIntensityInLook] ||
           intensity > look[kGreatestIntensityInLook] || !isInLook(kScansInLook, attributes >> 16u);
}

float intensityOf(uint index)
{
    return float(attributesOf(index) & 255u) / 255.0;
}

bool isCut(uint index, float4 position)
{
    if (is_filtered != 0u)
    {
        if (isHidden(index))
        {
            return true;
        }
    }
    for (uint i = 0u; i < plane_count; ++i)
    {
        if (dot(position, clipping_planes[i]) < 0.0)
        {
            return true;
        }
    }
    return false;
}

// Each pass computes it anew, and all must find the same pixels and the same depth: hence precise.
Splat splatOf(uint index, float4 position)
{
    precise const float4 clip = mul(model_view_proj, position);
    precise const float size = splatSize(levelOf(index), clip.w);
    precise const float2 center =
        viewport_min + viewport_size * (float2(0.5, -0.5) * (clip.xy / clip.w) + float2(0.5, 0.5));
    precise const float2 radius = 0.5 * viewport_size * (float2(size / aspect, size) / clip.w);
    precise const float depth = min_depth + (max_depth - min_depth) * (clip.z / clip.w);

    Splat splat;
    splat.clip = clip;
    splat.size = size;
    splat.center = center;
    splat.radius = radius;
    splat.depth = depth;
    return splat;
}

// Whether the splat lies between the near and the far plane; false for what is not a number.
bool isInDepthRange(Splat splat)
{
    return splat.clip.w > 0.0 && splat.clip.z >= 0.0 && splat.clip.z <= splat.clip.w;
}

// Greater is nearer; 0 is no point.
uint depthKey(float depth)
{
    const uint bits = asuint(abs(depth));  // of numbers that are not negative the bits ascend
    return depth_test == 0u ? 1u : depth_test == 2u ? bits + 1u : (asuint(1.0) - bits) + 1u;
}

float depthOfKey(uint key)
{
    return depth_test == 2u ? asfloat(key - 1u) : asfloat(asuint(1.0) - (key - 1u));
}

// Greater wins among equal depths; 0 is no point.
uint orderKey(uint order)
{
    return (order ^ order_flip) + 1u + order_flip;
}

uint orderOfKey(uint key)
{
    return (key - 1u - order_flip) ^ order_flip;
}

// The pixels of a splat, from and to inclusive: those whose centre lies in the square that triangles would fill.
int2 firstPixel(Splat splat)
{
    const float2 lower = max(splat.center - splat.radius, viewport_min);
    return int2(ceil(min(lower, float2(columns, rows)) - 0.5));
}

int2 lastPixel(Splat splat)
{
    const float2 upper = min(splat.center + splat.radius, viewport_min + viewport_size);
    return int2(ceil(max(upper, float2(0.0, 0.0)) - 0.5)) - 1;
}

// Half the width of a splat in a row of pixels; negative where the circle misses the row.
float halfChord(Splat splat, int row)
{
    const float y = (float(row) + 0.5 - splat.center.y) / splat.radius.y;
    const float square = 1.0 - y * y;
    return square < 0.0 ? -1.0 : splat.radius.x * sqrt(square);
}
