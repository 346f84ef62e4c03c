#include "shaders/splats.hlsl"

// Last pass of the splat rasterizer: writes the winners into the targets, with their depth, so that they meet whatever
// else is drawn there by the depth test. Three vertices cover the viewport. With SEVERAL_CLOUDS the chunks are those of
// several clouds one after the other, a chunk's node is the number of its cloud, and looks are tables of 256 colours
// alone, one a cloud.
//
// Out:  as pointcloud.hlsl, and the depth

Buffer<uint> winners : register(t5);
Buffer<uint> depths : register(t6);

struct Cloud
{
    float4x4 model;
    float4x4 model_view_proj;
    float4x4 inv_view_proj;
    float4 uniformColor;
    int point_render_mode;
    uint coloring;
    uint color_table;  // where its table begins
    uint padding;
};

#ifdef SEVERAL_CLOUDS
StructuredBuffer<Cloud> clouds : register(t7);
#endif

Cloud cloudOf(Chunk chunk)
{
#ifdef SEVERAL_CLOUDS
    return clouds[chunk.node];
#else
    Cloud cloud;
    cloud.model = model;
    cloud.model_view_proj = model_view_proj;
    cloud.inv_view_proj = inv_view_proj;
    cloud.uniformColor = uniformColor;
    cloud.point_render_mode = point_render_mode;
    cloud.coloring = coloring;
    cloud.color_table = 0u;
    cloud.padding = 0u;
    return cloud;
#endif
}

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
    const Cloud cloud = cloudOf(chunk);
    // The pixel's place on the splat, which lies at one depth all over.
    const float4 center = mul(cloud.model_view_proj, position);
    const float2 onScreen = (pixel.xy - viewport_min) / viewport_size * float2(2.0, -2.0) + float2(-1.0, 1.0);
    const float4 offset = float4(onScreen * center.w - center.xy, 0.0, 0.0);

    PictureOut result;
    result.color =
        shownColor(
            colorOf(index, cloud.coloring, cloud.color_table),
            intensityOf(index),
            cloud.point_render_mode,
            cloud.uniformColor
        );
    result.exactWorldPosition = mul(cloud.model, position);
    result.worldPosition = result.exactWorldPosition + mul(cloud.inv_view_proj, offset);
    result.depth = depthOfKey(depths[place]);
    return result;
}
