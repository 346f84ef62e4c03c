// Draws axis-aligned boxes as wire frames. Bound by Boxes; one instance is one box, its 24 vertices are the ends of its 12
// edges (line list).
//
// In:   instance buffer, slot 0, 28 bytes   corners in model coordinates, colour
//       b0 cbConstant
// Out:  SV_TARGET0 BGRA8 colour; SV_TARGET1 and SV_TARGET2 RGBA32F zero, so that lines never count as picked geometry

cbuffer cbConstant : register(b0)
{
    float4x4 world_view_proj;
};

// Ends of the edges as corner numbers; bit 2 of a number selects the maximum of x, bit 1 of y, bit 0 of z.
static const uint kEdges[24] = {0, 4, 4, 5, 5, 1, 1, 0, 2, 6, 6, 7, 7, 3, 3, 2, 0, 2, 4, 6, 5, 7, 1, 3};

struct VertexIn
{
    float3 minimum : POS_MIN;
    float3 maximum : POS_MAX;
    float4 color : COL;
    uint index : SV_VertexID;
};

struct VertexOut
{
    float4 position : SV_POSITION;
    float4 color : COLOR0;
};

struct PixelOut
{
    float4 color : SV_TARGET0;
    float4 worldPosition : SV_TARGET1;
    float4 exactWorldPosition : SV_TARGET2;
};

VertexOut vs_main(VertexIn input)
{
    const uint number = kEdges[input.index];
    const float3 weight = float3((number >> 2) & 1, (number >> 1) & 1, number & 1);

    VertexOut result;
    result.position = mul(world_view_proj, float4(lerp(input.minimum, input.maximum, weight), 1.0));
    result.color = input.color;
    return result;
}

PixelOut ps_main(VertexOut input)
{
    PixelOut result;
    result.color = input.color;
    result.worldPosition = float4(0.0, 0.0, 0.0, 0.0);
    result.exactWorldPosition = float4(0.0, 0.0, 0.0, 0.0);
    return result;
}
