#pragma once

#include "render/Export.h"
#include "render/platform/ComPtr.h"
#include "render/platform/Direct3D.h"

#include <array>

namespace Math
{
class Color;
}

namespace Render
{
/// Owns a view of a resource as a colour target, and the colour that it is cleared to.
///
/// Threads  the thread of the immediate context; not locked.
class RENDER_API RenderTargetView
{
public:
    /// Empty: get() is null.
    RenderTargetView() = default;

    /// A view of the whole resource, in its own format.
    /// @param clearValue  red, green, blue, alpha
    /// @throws ComException  when the view cannot be created; E_INVALIDARG for no resource
    RenderTargetView(ID3D11Device* device, ID3D11Resource* resource, const std::array<float, 4>& clearValue);

    RenderTargetView(const RenderTargetView&) = delete;
    RenderTargetView& operator=(const RenderTargetView&) = delete;
    RenderTargetView(RenderTargetView&&) noexcept = default;
    RenderTargetView& operator=(RenderTargetView&&) noexcept = default;
    ~RenderTargetView() = default;

    /// Red, green, blue and alpha that clear() fills in.
    void setClearValue(const std::array<float, 4>& value) noexcept;
    void setClearValue(float r, float g, float b, float a) noexcept;

    /// All four channels alike.
    void setClearValue(float value) noexcept;

    /// Each channel divided by 255.
    void setClearValue(const Math::Color& value) noexcept;

    /// Red, green, blue and alpha that clear() fills in.
    const std::array<float, 4>& clearValue() const noexcept { return mClearValue; }

    /// Fills the view with its clear value.
    void clear(ID3D11DeviceContext* context) const;

    /// The object of Direct3D; null when there is none.
    ID3D11RenderTargetView* get() const noexcept { return mView; }

private:
    CComPtr<ID3D11RenderTargetView> mView;
    std::array<float, 4> mClearValue{};
};
}  // namespace Render
