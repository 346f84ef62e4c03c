#pragma once

#include "core/NonCopyable.h"
#include "render/platform/Direct3D.h"

namespace Render
{
/// Leaves the context without any state or target when its life ends, however that comes about.
class [[nodiscard]] CleanContext : private Core::NonCopyable
{
public:
    explicit CleanContext(ID3D11DeviceContext* context) noexcept : mContext(context) {}

    ~CleanContext()
    {
        mContext->ClearState();
        mContext->OMSetRenderTargets(0, nullptr, nullptr);
    }

private:
    ID3D11DeviceContext* mContext;
};
}  // namespace Render
