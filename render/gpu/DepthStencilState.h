#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Owns the rule by which fragments are tested against the depth and stencil buffer.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API DepthStencilState
{
public:
    /// Empty: get() is null.
    DepthStencilState() = default;

    /// @throws ComException  when the state cannot be created
    DepthStencilState(ID3D11Device* device, const D3D11_DEPTH_STENCIL_DESC& desc);

    /// Without stencil test. With depth test a fragment passes at greater or equal depth when reversed, at
    /// lesser depth otherwise.
    /// @param reversed  near is depth 1, far is 0
    DepthStencilState(ID3D11Device* device, bool reversed, bool depthEnable, bool depthWrite);

    DepthStencilState(const DepthStencilState&) = delete;
    DepthStencilState& operator=(const DepthStencilState&) = delete;
    DepthStencilState(DepthStencilState&&) noexcept = default;
    DepthStencilState& operator=(DepthStencilState&&) noexcept = default;
    ~DepthStencilState() = default;

    /// Makes this the state of the following draws, with that stencil reference.
    void set(ID3D11DeviceContext* context, unsigned int stencilRef) const;

    /// The object of Direct3D; null when there is none.
    ID3D11DepthStencilState* get() const noexcept { return mState; }

private:
    CComPtr<ID3D11DepthStencilState> mState;
};
}  // namespace Render
