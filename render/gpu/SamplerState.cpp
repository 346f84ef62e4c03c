#include "render/gpu/SamplerState.h"

#include "render/gpu/bindToStages.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
SamplerState::SamplerState(ID3D11Device* device, const D3D11_SAMPLER_DESC& desc)
{
    throwIfFailed(device->CreateSamplerState(&desc, mSampler.put()), device);
    setDebugName(mSampler, "SamplerState");
}

void SamplerState::begin(ID3D11DeviceContext* context, ShaderConfiguration configuration, unsigned int slot)
{
    mBinding.begin(configuration, slot);
    bindToStages(context, mBinding, mSampler.get());
}

void SamplerState::end(ID3D11DeviceContext* context)
{
    bindToStages(context, mBinding.end(), static_cast<ID3D11SamplerState*>(nullptr));
}
}  // namespace Render
