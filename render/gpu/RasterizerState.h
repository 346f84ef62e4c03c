#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Owns the rule by which triangles become fragments: fill, culling, clipping.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API RasterizerState
{
public:
    /// Empty: get() is null.
    RasterizerState() = default;

    /// @throws ComException  when the state cannot be created
    RasterizerState(ID3D11Device* device, const D3D11_RASTERIZER_DESC& desc);

    RasterizerState(const RasterizerState&) = delete;
    RasterizerState& operator=(const RasterizerState&) = delete;
    RasterizerState(RasterizerState&&) noexcept = default;
    RasterizerState& operator=(RasterizerState&&) noexcept = default;
    ~RasterizerState() = default;

    /// Makes this the state of the following draws.
    void set(ID3D11DeviceContext* context) const;

    /// The object of Direct3D; null when there is none.
    ID3D11RasterizerState* get() const noexcept { return mState; }

private:
    CComPtr<ID3D11RasterizerState> mState;
};
}  // namespace Render
