#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Owns a view of a texture as a depth buffer of 32-bit floats, and the values that it is cleared to.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API DepthStencilView
{
public:
    /// Empty: get() is null.
    DepthStencilView() = default;

    /// A view of mip level 0.
    /// @param clearFlags  D3D11_CLEAR_FLAG bits: what clear touches
    /// @throws ComException  when the view cannot be created; E_INVALIDARG for no resource
    DepthStencilView(
        ID3D11Device* device,
        ID3D11Resource* resource,
        unsigned int clearFlags,
        float depthClearValue,
        unsigned char stencilClearValue
    );

    DepthStencilView(const DepthStencilView&) = delete;
    DepthStencilView& operator=(const DepthStencilView&) = delete;
    DepthStencilView(DepthStencilView&&) noexcept = default;
    DepthStencilView& operator=(DepthStencilView&&) noexcept = default;
    ~DepthStencilView() = default;

    /// What clear() does from now on.
    void setClearValues(unsigned int clearFlags, float depth, unsigned char stencil) noexcept;

    /// D3D11_CLEAR_FLAG bits: what clear() clears.
    unsigned int clearFlags() const noexcept { return mClearFlags; }

    /// The depth that clear() fills in.
    float depthClearValue() const noexcept { return mDepthClearValue; }

    /// The stencil value that clear() fills in.
    unsigned char stencilClearValue() const noexcept { return mStencilClearValue; }

    /// Fills the view with its clear values.
    void clear(ID3D11DeviceContext* context) const;

    /// The object of Direct3D; null when there is none.
    ID3D11DepthStencilView* get() const noexcept { return mView; }

private:
    CComPtr<ID3D11DepthStencilView> mView;
    unsigned int mClearFlags = 0;
    float mDepthClearValue = 0.0f;
    unsigned char mStencilClearValue = 0;
};
}  // namespace Render
