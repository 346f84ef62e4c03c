#include "tests/render/renderer/TriangleRenderable.h"

#include "render/gpu/shaderBytecode.h"
#include "render/gpu/throwIfFailed.h"
#include "render/platform/Direct3D.h"
#include "render/scene/Camera.h"

#include <span>
#include <string_view>

namespace Render
{
namespace
{
constexpr std::string_view kSource = R"(
cbuffer cbFrame : register(b0) { float4x4 view_projection; };

struct Corner
{
    float4 position : SV_POSITION;
    float4 color : COLOR;
    float3 world : WORLD;
};

struct Targets
{
    float4 color : SV_TARGET0;
    float4 world : SV_TARGET1;
    float4 exact : SV_TARGET2;
};

Corner vs_main(float3 position : POS, float4 color : COL)
{
    Corner corner;
    corner.position = mul(view_projection, float4(position, 1.0));
    corner.color = color;
    corner.world = position;
    return corner;
}

Targets ps_main(Corner corner)
{
    Targets targets;
    targets.color = corner.color;
    targets.world = float4(corner.world, 1.0);
    targets.exact = float4(corner.world + float3(1000.0, 0.0, 0.0), 1.0);
    return targets;
}
)";

VertexShader::Layout layout()
{
    return {
        {"POS", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0},
        {"COL", 0, DXGI_FORMAT_B8G8R8A8_UNORM, 0, 12, D3D11_INPUT_PER_VERTEX_DATA, 0},
    };
}

CComPtr<ID3D11Buffer> vertexBuffer(ID3D11Device* device, std::span<const VertexPosColor> corners)
{
    D3D11_BUFFER_DESC desc{};
    desc.ByteWidth = static_cast<UINT>(corners.size_bytes());
    desc.Usage = D3D11_USAGE_IMMUTABLE;
    desc.BindFlags = D3D11_BIND_VERTEX_BUFFER;
    const D3D11_SUBRESOURCE_DATA data{corners.data(), 0, 0};
    CComPtr<ID3D11Buffer> buffer;
    throwIfFailed(device->CreateBuffer(&desc, &data, buffer.put()));
    return buffer;
}
}  // namespace

TriangleRenderable::TriangleRenderable(std::vector<VertexPosColor> corners)
    : Renderable("triangles"), mCorners(std::move(corners))
{
}

void TriangleRenderable::init(
    unsigned long long,
    std::shared_ptr<Camera> camera,
    CComPtr<ID3D11Device> device,
    CComPtr<ID3D11DeviceContext> deviceContext
)
{
    mCamera = std::move(camera);
    mContext = std::move(deviceContext);
    mVertices = vertexBuffer(device, mCorners);
    mViewProjection = ConstantBuffer(device, sizeof(Eigen::Matrix4f));
    mVertexShader = VertexShader::fromCsoString(
        device, compileHlsl(kSource, "triangles", nullptr, kVertexProfile), layout()
    );
    mPixelShader =
        PixelShader::fromCsoString(device, compileHlsl(kSource, "triangles", nullptr, kPixelProfile));
}

void TriangleRenderable::deinit()
{
    mPixelShader = PixelShader();
    mVertexShader = VertexShader();
    mViewProjection = ConstantBuffer();
    mVertices.release();
    mContext.release();
    mCamera.reset();
}

void TriangleRenderable::render()
{
    mVertexShader.begin(mContext);
    mPixelShader.begin(mContext);
    mViewProjection.begin(
        mContext,
        ShaderConfiguration::Vertex,
        0,
        std::as_bytes(std::span(mCamera->viewProjectionMatrix().data(), 16))
    );
    mContext->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    ID3D11Buffer* const buffer = mVertices;
    constexpr UINT kStride = sizeof(VertexPosColor);
    constexpr UINT kOffset = 0;
    mContext->IASetVertexBuffers(0, 1, &buffer, &kStride, &kOffset);
    mContext->Draw(static_cast<UINT>(mCorners.size()), 0);

    mViewProjection.end(mContext);
    mPixelShader.end(mContext);
    mVertexShader.end(mContext);
    Renderable::render();
}

Math::NBoundingBox<float, 3> TriangleRenderable::boundingBox()
{
    Math::NBoundingBox<float, 3> box;
    for (const VertexPosColor& corner : mCorners)
    {
        box.extend(corner.position);
    }
    return box;
}

std::vector<VertexPosColor> rectangle(
    float left, float right, float bottom, float top, float z, const Math::Color& color
)
{
    const VertexPosColor lowerLeft({left, bottom, z}, color);
    const VertexPosColor upperLeft({left, top, z}, color);
    const VertexPosColor lowerRight({right, bottom, z}, color);
    const VertexPosColor upperRight({right, top, z}, color);
    return {lowerLeft, upperLeft, upperRight, lowerLeft, upperRight, lowerRight};
}

std::vector<VertexPosColor> operator+(std::vector<VertexPosColor> a, const std::vector<VertexPosColor>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
}  // namespace Render
