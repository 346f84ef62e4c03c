#include "render/gpu/RenderTargetView.h"

#include "math/Color.h"
#include "render/gpu/setDebugName.h"
#include "render/gpu/throwIfFailed.h"

namespace Render
{
RenderTargetView::RenderTargetView(
    ID3D11Device* device, ID3D11Resource* resource, const std::array<float, 4>& clearValue
)
{
    if (resource == nullptr)
    {
        throwIfFailed(E_INVALIDARG);
    }
    throwIfFailed(device->CreateRenderTargetView(resource, nullptr, mView.put()), device);
    setDebugName(mView, "RenderTargetView");
    mClearValue = clearValue;
}

void RenderTargetView::setClearValue(const std::array<float, 4>& value) noexcept
{
    mClearValue = value;
}

void RenderTargetView::setClearValue(float r, float g, float b, float a) noexcept
{
    mClearValue = {r, g, b, a};
}

void RenderTargetView::setClearValue(float value) noexcept
{
    mClearValue.fill(value);
}

void RenderTargetView::setClearValue(const Math::Color& value) noexcept
{
    const auto channel = [](unsigned char byte) { return static_cast<float>(byte / 255.0); };
    mClearValue = {channel(value.r()), channel(value.g()), channel(value.b()), channel(value.a())};
}

void RenderTargetView::clear(ID3D11DeviceContext* context) const
{
    context->ClearRenderTargetView(mView, mClearValue.data());
}
}  // namespace Render
