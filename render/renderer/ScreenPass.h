#pragma once

#include "render/gpu/BlendState.h"
#include "render/gpu/DepthStencilState.h"
#include "render/renderer/FramePass.h"

#include <string>
#include <vector>

namespace Render
{
/// A pass that makes images of images, pixel by pixel: a screen effect, or the picture itself.
///
/// Its targets replace those of the same name for all passes after it.
class ScreenPass : public FramePass
{
public:
    /// Clears the targets and binds the inputs around drawPixels().
    void draw(const FrameInput& input, const PassImages& images) override;

protected:
    /// @param inputs  names of the images to read, in the order of their pixel shader slots from 0 on;
    ///                PassImages::kDepth for the depth buffer
    /// @throws ComException  when the device refuses a state
    ScreenPass(const CComPtr<ID3D11Device>& device, const Camera& camera, std::vector<std::string> inputs);

    /// Covers the whole picture. Targets, viewport and inputs are bound; nothing blends, and depth has no
    /// say.
    virtual void drawPixels(const FrameInput& input) = 0;

private:
    std::vector<std::string> mInputs;
    DepthStencilState mDepthFree;
    BlendState mBlendNone;
};
}  // namespace Render
