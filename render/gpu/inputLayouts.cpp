#include "render/gpu/inputLayouts.h"

namespace Render
{
namespace
{
D3D11_INPUT_ELEMENT_DESC perInstance(const char* semantic, DXGI_FORMAT format, UINT offset)
{
    return {semantic, 0, format, 0, offset, D3D11_INPUT_PER_INSTANCE_DATA, 1};
}

D3D11_INPUT_ELEMENT_DESC perVertex(const char* semantic, DXGI_FORMAT format, UINT offset)
{
    return {semantic, 0, format, 0, offset, D3D11_INPUT_PER_VERTEX_DATA, 0};
}
}  // namespace

std::vector<D3D11_INPUT_ELEMENT_DESC> pointInputLayout()
{
    return {
        perInstance("POS", DXGI_FORMAT_R32G32B32_FLOAT, 0),
        perInstance("COL", DXGI_FORMAT_B8G8R8A8_UNORM, D3D11_APPEND_ALIGNED_ELEMENT),  // at 12
        perInstance("INTENSITY", DXGI_FORMAT_R8_UNORM, D3D11_APPEND_ALIGNED_ELEMENT),  // at 16
        perInstance("CLASSINDEX", DXGI_FORMAT_R8_UINT, D3D11_APPEND_ALIGNED_ELEMENT),  // at 17
        perInstance("SCANINDEX", DXGI_FORMAT_R16_UINT, D3D11_APPEND_ALIGNED_ELEMENT),  // at 18
    };
}

std::vector<D3D11_INPUT_ELEMENT_DESC> meshInputLayout()
{
    return {
        perVertex("POS", DXGI_FORMAT_R32G32B32_FLOAT, 0),
        perVertex("NML", DXGI_FORMAT_R32G32B32_FLOAT, 12),
        perVertex("UV", DXGI_FORMAT_R32G32_FLOAT, 24),
        perVertex("COL", DXGI_FORMAT_B8G8R8A8_UNORM, 32),
    };
}
}  // namespace Render
