#include "render/renderer/EyeDomePass.h"

#include "render/renderer/PassImages.h"
#include "render/renderer/View.h"
#include "render/renderer/drawScreen.h"
#include "render/scene/Camera.h"

#include <string>

namespace Render
{
namespace
{
const std::string kSource = "shaders/eyedome.hlsl";
}  // namespace

EyeDomePass::EyeDomePass(const CComPtr<ID3D11Device>& device, const Camera& camera)
    : ScreenPass(device, camera, {"color", PassImages::kDepth}),
      mConstants(device),
      mVertexShader(VertexShader::fromHlslResource(device, kSource, {})),
      mPixelShader(PixelShader::fromHlslResource(device, kSource))
{
    addTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
}

void EyeDomePass::drawPixels(const FrameInput& input)
{
    // the scene pass may have fitted near and far only now
    const EyeDomeConstants constants = eyeDomeConstants(*input.view.camera(), mLighting);
    if (constants != mConstants.values())
    {
        mConstants.edit() = constants;
    }
    drawScreen(input.context, mVertexShader, mPixelShader, mConstants);
}
}  // namespace Render
