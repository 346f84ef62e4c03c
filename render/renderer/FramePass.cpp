#include "render/renderer/FramePass.h"

#include "render/scene/Viewport.h"

namespace Render
{
FramePass::FramePass(const CComPtr<ID3D11Device>& device, const Viewport& viewport)
    : mTargets(
          device, static_cast<unsigned int>(viewport.width()), static_cast<unsigned int>(viewport.height())
      )
{
}

void FramePass::addTarget(const std::string& name, DXGI_FORMAT format)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.MipLevels = 1;
    desc.Format = format;
    mTargets.addRenderTarget(name, desc);
}
}  // namespace Render
