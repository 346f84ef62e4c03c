#include "render/pointcloud/SplatQuads.h"

#include "render/pointcloud/SplatViews.h"

#include <array>
#include <vector>

namespace Render
{
namespace
{
/// Two triangles a point, in the order and winding of a strip of its four corners.
std::vector<unsigned int> quadIndices()
{
    constexpr std::array<unsigned int, 6> kCorners{0, 1, 2, 1, 3, 2};
    std::vector<unsigned int> indices;
    for (unsigned int point = 0; point < SplatChunk::kMostPoints; ++point)
    {
        for (const unsigned int corner : kCorners)
        {
            indices.push_back(4 * point + corner);
        }
    }
    return indices;
}
}  // namespace

SplatQuads::SplatQuads(const CComPtr<ID3D11Device>& device)
    : mVertexShader(VertexShader::fromHlslResource(device, "shaders/splatquads.hlsl", {})),
      mPixelShader(PixelShader::fromHlslResource(device, "shaders/pointcloud.hlsl")),
      mIndices(device, quadIndices())
{
}

void SplatQuads::draw(
    ID3D11DeviceContext* context,
    SplatList& list,
    std::uint32_t planeCount,
    ConstantBlock<PerFrameConstants>& perFrame
)
{
    if (list.chunkCount() == 0)
    {
        return;
    }
    list.setConstants({.plane_count = planeCount});

    constexpr auto kStages = ShaderConfiguration::Vertex | ShaderConfiguration::Pixel;
    const ScopedBinding frame(context, perFrame, kStages, SplatList::kPerFrameSlot);
    const ScopedBinding vertexShader(context, mVertexShader);
    const ScopedBinding pixelShader(context, mPixelShader);
    mIndices.begin(context, 0);
    context->IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    list.forEachWindow(
        context,
        ShaderConfiguration::Vertex,
        [&](const SplatList::Views& views)
        {
            const VertexSplatViews inputs(context, views);
            context->DrawIndexedInstanced(
                static_cast<UINT>(mIndices.numIndices()), list.chunkCount(), 0, 0, 0
            );
        }
    );
    mIndices.end(context);
}
}  // namespace Render
