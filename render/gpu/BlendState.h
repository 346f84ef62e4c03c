#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Owns the rule by which colours are blended into the targets.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API BlendState
{
public:
    /// Empty: get() is null.
    BlendState() = default;

    /// @throws ComException  when the state cannot be created
    BlendState(ID3D11Device* device, const D3D11_BLEND_DESC& desc);

    BlendState(const BlendState&) = delete;
    BlendState& operator=(const BlendState&) = delete;
    BlendState(BlendState&&) noexcept = default;
    BlendState& operator=(BlendState&&) noexcept = default;
    ~BlendState() = default;

    /// @param blendFactor  four floats, or null for 1, 1, 1, 1
    void set(ID3D11DeviceContext* context, const float* blendFactor, unsigned int sampleMask) const;

    /// The object of Direct3D; null when there is none.
    ID3D11BlendState* get() const noexcept { return mState; }

private:
    CComPtr<ID3D11BlendState> mState;
};
}  // namespace Render
