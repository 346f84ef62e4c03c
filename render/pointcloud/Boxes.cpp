#include "render/pointcloud/Boxes.h"

#include "render/gpu/ScopedBinding.h"
#include "render/gpu/ShaderConfiguration.h"

#include <span>
#include <utility>

namespace Render
{
namespace
{
constexpr const char* kShader = "shaders/box.hlsl";
constexpr unsigned int kStride = sizeof(BoxWithColor);
constexpr UINT kVerticesPerBox = 24;  // two ends of 12 edges

VertexShader::Layout instanceLayout()
{
    constexpr UINT kAppend = D3D11_APPEND_ALIGNED_ELEMENT;
    constexpr D3D11_INPUT_CLASSIFICATION kInstance = D3D11_INPUT_PER_INSTANCE_DATA;
    return {
        {"POS_MIN", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, 0, kInstance, 1},
        {"POS_MAX", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, kAppend, kInstance, 1},
        {"COL", 0, DXGI_FORMAT_B8G8R8A8_UNORM, 0, kAppend, kInstance, 1},
    };
}
}  // namespace

Boxes::Boxes(const CComPtr<ID3D11Device>& device, DynamicVertexBuffer instances, std::size_t boxCount)
    : mVertexShader(VertexShader::fromHlslResource(device, kShader, instanceLayout())),
      mPixelShader(PixelShader::fromHlslResource(device, kShader)),
      mConstants(device),
      mInstances(std::move(instances)),
      mBoxCount(boxCount)
{
}

Boxes::Boxes(const CComPtr<ID3D11Device>& device, std::size_t count)
    : Boxes(device, DynamicVertexBuffer(device, count, kStride), 0)
{
}

Boxes::Boxes(const CComPtr<ID3D11Device>& device, const std::vector<BoxWithColor>& boxes)
    : Boxes(device, DynamicVertexBuffer(device, std::as_bytes(std::span(boxes)), kStride), boxes.size())
{
}

Boxes::Boxes(
    const CComPtr<ID3D11Device>& device, const Math::NBoundingBox<float, 3>& box, const Math::Color& color
)
    : Boxes(device, std::vector<BoxWithColor>{BoxWithColor{box.min(), box.max(), color}})
{
}

void Boxes::update(ID3D11DeviceContext* context, const std::vector<BoxWithColor>& boxes)
{
    mInstances.update(context, std::as_bytes(std::span(boxes)));
    mBoxCount = boxes.size();
}

void Boxes::setModelViewProjection(const Eigen::Matrix4f& matrix)
{
    setModelViewProjection(toShaderMatrix(matrix));
}

void Boxes::setModelViewProjection(const ShaderMatrix& matrix)
{
    mConstants.edit().world_view_proj = matrix;
}

void Boxes::draw(ID3D11DeviceContext* context)
{
    const ScopedBinding vertexShader(context, mVertexShader);
    const ScopedBinding pixelShader(context, mPixelShader);
    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_LINELIST);
    {
        const ScopedBinding constants(context, mConstants, ShaderConfiguration::Vertex, 0U);
        mInstances.set(context);
        context->DrawInstanced(kVerticesPerBox, static_cast<UINT>(mBoxCount), 0, 0);
    }
    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_UNDEFINED);
}
}  // namespace Render
