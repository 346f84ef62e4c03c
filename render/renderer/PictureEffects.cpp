#include "render/renderer/PictureEffects.h"

#include "render/renderer/EyeDomePass.h"
#include "render/renderer/Frame.h"

#include <memory>
#include <utility>

namespace Render
{
void PictureEffects::apply(Frame& frame, const CComPtr<ID3D11Device>& device, const Camera& camera)
{
    const bool isEyeDomeOn = eyeDomeLighting.strength > 0.0F;
    if (isEyeDomeOn && mEyeDome == nullptr)
    {
        auto pass = std::make_unique<EyeDomePass>(device, camera, eyeDomeLighting);
        EyeDomePass* const added = pass.get();
        frame.addPictureEffect(std::move(pass));
        mEyeDome = added;
    }
    else if (isEyeDomeOn)
    {
        mEyeDome->setLighting(eyeDomeLighting);
    }
    else if (mEyeDome != nullptr)
    {
        frame.removeEffect(*mEyeDome);
        mEyeDome = nullptr;
    }
}
}  // namespace Render
