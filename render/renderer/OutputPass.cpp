#include "render/renderer/OutputPass.h"

#include "math/Color.h"
#include "render/renderer/PostProcess.h"

namespace Render
{
OutputPass::OutputPass(const CComPtr<ID3D11Device>& device, const Camera& camera)
    : ScreenPass(device, camera, {"color", "worldPosition", "exactWorldPosition"})
{
    addTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
    addTarget("worldPosition", DXGI_FORMAT_R32G32B32A32_FLOAT);
}

void OutputPass::draw(const FrameInput& input, const PassImages& images)
{
    targets().setClearValue("color", input.background);
    ScreenPass::draw(input, images);
}

void OutputPass::drawPixels(const FrameInput& input)
{
    input.postProcess.recover();  // nothing of a frame that failed is bound any more
    input.postProcess.draw(input.context);
}
}  // namespace Render
