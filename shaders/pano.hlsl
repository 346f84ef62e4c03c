// Draws a spherical panorama with depth over the whole target: PanoRenderable binds it.
//
// Input    no vertex buffer; four vertices of a triangle strip from SV_VertexID.
//          b0 cbConstant, t0 colour (B8G8R8A8_UNORM), t1 distance (R32_FLOAT, model units), s0 the sampler of both.
// Targets  0 colour (B8G8R8A8_UNORM), 1 and 2 world position (R32G32B32A32_FLOAT), and the depth buffer.
// Frames   model: the panorama's own, its centre at the origin, z up; world: model times the renderable's matrix.
//          Longitude runs to the left over the picture's width from -x, latitude down over its height from +z.

static const float pi = 3.14159265;

cbuffer cbConstant : register(b0)
{
    float4x4 viewProjection;              // world to clip
    float4x4 inverseModelViewProjection;  // clip to model
    float4x4 model;                       // model to world
    float4x4 inverseModelView;            // view to model
    float zNear;                          // world units
    float zFar;
    float scale;  // world units per model unit
};

Texture2D panoColor : register(t0);
Texture2D panoDepth : register(t1);
SamplerState panoSampler : register(s0);

struct VSOutput
{
    float4 position : SV_POSITION;
    float3 objPos : OBJ_POS;  // model
};

struct PSOutput
{
    float4 color : SV_TARGET0;
    float4 worldPosition : SV_TARGET1;
    float4 exactWorldPosition : SV_TARGET2;
    float depth : SV_DEPTH;
};

// Model position of a clip position.
float3 unprojected(float4 clipPos)
{
    const float4 position = mul(inverseModelViewProjection, clipPos);
    return position.xyz / position.w;
}

// Where the camera looks, in the model.
float3 viewDirection()
{
    return normalize(mul((float3x3)inverseModelView, float3(0.0, 0.0, -1.0)));
}

VSOutput vs_main(uint id : SV_VertexID)
{
    const float2 uv = float2((id >> 1) & 1, id & 1);

    VSOutput output;
    output.position = float4(-1.0 + 2.0 * uv.x, -1.0 + 2.0 * uv.y, 1.0, 1.0);

    // Depth 1 is the far plane or, with reversed depth, the near one. The direction is that of the point on the
    // far plane in both: millimetres between eye and centre would turn that of a near plane at the eye.
    const float3 one = unprojected(output.position);
    const float3 zero = unprojected(float4(output.position.xy, 0.0, 1.0));
    output.objPos = dot(one - zero, viewDirection()) > 0.0 ? one : zero;
    return output;
}

PSOutput ps_main(VSOutput input)
{
    const float3 d = normalize(input.objPos);
    const float sinLatitude = clamp(d.z, -1.0, 1.0);  // rounding may leave the range of asin
    const float theta = 0.5 - atan2(d.y, d.x) / (2.0 * pi);
    const float phi = 0.5 - asin(sinLatitude) / pi;
    const float2 uv = float2(theta, phi);

    // The distance along the view direction is what near and far limit; the margin keeps the panorama in front of
    // the far plane.
    const float proj = dot(d, viewDirection());
    float r = panoDepth.Sample(panoSampler, uv).r;
    r = clamp(r * proj, zNear / scale, zFar / scale - 1.0) / proj;

    const float4 worldPos = mul(model, float4(r * d, 1.0));
    const float4 clipPos = mul(viewProjection, worldPos);

    PSOutput output;
    output.color = panoColor.Sample(panoSampler, uv);
    output.worldPosition = worldPos;
    output.exactWorldPosition = worldPos;
    output.depth = clipPos.z / clipPos.w;
    return output;
}
