// Draws the triangles of a mesh, lit by a head light: MeshRenderable binds it.
//
// Input    slot 0, per vertex, 36 bytes: POS, NML, UV, COL (B8G8R8A8_UNORM); b0 cbPerFrameConstants, both stages.
// Targets  0 colour (B8G8R8A8_UNORM), 1 and 2 world position (R32G32B32A32_FLOAT), and the depth buffer.
// Frames   POS and NML: the file's, in its units; world: that times unit scale and model matrix.

#define CLIPPING_PLANES_MAX_COUNT 8

cbuffer cbPerFrameConstants : register(b0)
{
    float4x4 modelMatrix;
    float4x4 viewProjectionMatrix;
    float4 clipping_planes[CLIPPING_PLANES_MAX_COUNT];  // world; keeps what is not on the negative side
    float unitScale;                                    // of the file's units
    float3 cameraPosition;                              // world
    float3 lightPos;                                    // not used: the light is at the camera
};

struct VSInput
{
    float3 pos : POS;
    float3 nml : NML;
    float2 uv : UV;
    float4 col : COL;
};

struct VSOutput
{
    float4 position : SV_POSITION;
    float4 worldPosition : WORLD_POSITION;
    float3 normal : NORMAL;  // world
    float4 color : COLOR;
};

struct PSOutput
{
    float4 color : SV_TARGET0;
    float4 worldPosition : SV_TARGET1;
    float4 exactWorldPosition : SV_TARGET2;
};

VSOutput vs_main(VSInput input)
{
    const float4x4 unitMatrix = {
        unitScale, 0.0, 0.0, 0.0,  //
        0.0, unitScale, 0.0, 0.0,  //
        0.0, 0.0, unitScale, 0.0,  //
        0.0, 0.0, 0.0, 1.0,
    };
    const float4x4 world = mul(modelMatrix, unitMatrix);

    VSOutput output;
    output.worldPosition = mul(world, float4(input.pos, 1.0));
    output.position = mul(viewProjectionMatrix, output.worldPosition);
    output.normal = normalize(mul((float3x3)world, input.nml));
    output.color = input.col;
    return output;
}

PSOutput ps_main(VSOutput input)
{
    [unroll]
    for (int i = 0; i < CLIPPING_PLANES_MAX_COUNT; ++i)
    {
        if (dot(input.worldPosition, clipping_planes[i]) < 0.0)
        {
            discard;
        }
    }

    const float3 lightDir = normalize(cameraPosition - input.worldPosition.xyz);
    float d = dot(input.normal, -lightDir);
    if (d < 0.0)
    {
        d = dot(-input.normal, -lightDir);  // both sides of a face are lit alike
    }
    const float diffuse = saturate(d);

    PSOutput output;
    output.color = float4(0.2 * input.color.rgb + 0.8 * diffuse * input.color.rgb, 1.0);
    output.worldPosition = input.worldPosition;
    output.exactWorldPosition = input.worldPosition;
    return output;
}
