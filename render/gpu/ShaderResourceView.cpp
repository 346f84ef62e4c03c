#include "render/gpu/ShaderResourceView.h"

#include "render/gpu/bindToStages.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
ShaderResourceView::ShaderResourceView(
    ID3D11Device* device, ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc
)
{
    if (resource == nullptr)
    {
        throwIfFailed(E_INVALIDARG);
    }
    throwIfFailed(device->CreateShaderResourceView(resource, desc, mView.put()), device);
    setDebugName(mView, "ShaderResourceView");
}

void ShaderResourceView::begin(
    ID3D11DeviceContext* context, ShaderConfiguration configuration, unsigned int slot
)
{
    mBinding.begin(configuration, slot);
    bindToStages(context, mBinding, mView.get());
}

void ShaderResourceView::end(ID3D11DeviceContext* context)
{
    bindToStages(context, mBinding.end(), static_cast<ID3D11ShaderResourceView*>(nullptr));
}
}  // namespace Render
