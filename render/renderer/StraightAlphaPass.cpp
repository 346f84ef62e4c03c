#include "render/renderer/StraightAlphaPass.h"

#include "math/Color.h"
#include "render/renderer/PassImages.h"
#include "render/renderer/PostProcess.h"
#include "render/renderer/View.h"
#include "render/renderer/drawScreen.h"
#include "render/scene/Camera.h"

#include <string>

namespace Render
{
namespace
{
const std::string kSource = "shaders/straightalpha.hlsl";

StraightAlphaConstants constantsOf(const FrameInput& input)
{
    const auto unit = [](unsigned char channel) { return static_cast<float>(channel) / 255.0F; };
    const Math::Color& background = input.background;
    const RenderMode mode = input.view.renderMode();
    StraightAlphaConstants constants;
    constants.background = {
        unit(background.r()), unit(background.g()), unit(background.b()), unit(background.a())};
    constants.opacity = input.postProcess.opacity();
    constants.clearDepth = input.view.camera()->clearDepthValue();
    constants.kind = isTomographic(mode) ? static_cast<std::int32_t>(mode) : 0;
    return constants;
}
}  // namespace

StraightAlphaPass::StraightAlphaPass(const CComPtr<ID3D11Device>& device, const Camera& camera)
    : ScreenPass(device, camera, {"color", "worldPosition", PassImages::kDepth}),
      mConstants(device),
      mVertexShader(VertexShader::fromHlslResource(device, kSource, {})),
      mPixelShader(PixelShader::fromHlslResource(device, kSource))
{
    addTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
}

void StraightAlphaPass::drawPixels(const FrameInput& input)
{
    const StraightAlphaConstants constants = constantsOf(input);
    if (constants != mConstants.values())
    {
        mConstants.edit() = constants;
    }
    drawScreen(input.context, mVertexShader, mPixelShader, mConstants);
}
}  // namespace Render
