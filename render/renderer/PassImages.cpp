#include "render/renderer/PassImages.h"

#include "render/gpu/RenderPass.h"

#include <algorithm>
#include <stdexcept>

namespace Render
{
RenderPass& PassImages::bind(ID3D11DeviceContext* context, const std::string& name, unsigned int slot) const
{
    const bool isDepth = name == kDepth;
    const auto found = std::find_if(
        mPasses.rbegin(),
        mPasses.rend(),
        [&](const RenderPass* pass) { return isDepth ? pass->hasDepthBuffer() : pass->hasRenderTarget(name); }
    );
    if (found == mPasses.rend())
    {
        throw std::out_of_range("Error: no pass of the frame has drawn an image named " + name);
    }
    RenderPass& pass = **found;
    if (isDepth)
    {
        pass.bindDepthTexture(context, ShaderConfiguration::Pixel, slot);
    }
    else
    {
        pass.bindTexture(context, name, ShaderConfiguration::Pixel, slot);
    }
    return pass;
}

void PassImages::unbind(ID3D11DeviceContext* context, const std::string& name, RenderPass& pass)
{
    if (name == kDepth)
    {
        pass.unbindDepthTexture(context);
    }
    else
    {
        pass.unbindTexture(context, name);
    }
}
}  // namespace Render
