#pragma once

#include "render/Export.h"
#include "render/gpu/StageBinding.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Owns a sampler: how shaders filter and address textures. A copy shares the sampler and is bound where the
/// original is. Destruction does not unbind it.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API SamplerState
{
public:
    /// Empty: get() is null.
    SamplerState() = default;

    /// @throws ComException  when the sampler cannot be created
    SamplerState(ID3D11Device* device, const D3D11_SAMPLER_DESC& desc);

    /// Binds the sampler to the slot of each named stage.
    /// @throws std::logic_error  "Error: end call is missing" when it is bound; the old binding then stays
    void begin(ID3D11DeviceContext* context, ShaderConfiguration configuration, unsigned int slot);

    /// Sets no sampler where begin has bound this one.
    /// @throws std::logic_error  "Error: begin call is missing" when it is not bound
    void end(ID3D11DeviceContext* context);

    /// The object of Direct3D; null when there is none.
    ID3D11SamplerState* get() const noexcept { return mSampler; }

private:
    CComPtr<ID3D11SamplerState> mSampler;
    StageBinding mBinding;
};
}  // namespace Render
