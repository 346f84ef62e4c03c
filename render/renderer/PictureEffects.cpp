#include "render/renderer/PictureEffects.h"

#include "render/renderer/EyeDomePass.h"
#include "render/renderer/Frame.h"
#include "render/renderer/StraightAlphaPass.h"

#include <memory>
#include <utility>

namespace Render
{
namespace
{
/// Adds the pass that `make` makes, or takes it away.
/// @param pass  the frame's, or null
template <class Pass, class Make>
void switchPass(Frame& frame, Pass*& pass, bool isOn, const Make& make)
{
    if (isOn && pass == nullptr)
    {
        std::unique_ptr<Pass> made = make();
        Pass* const added = made.get();
        frame.addPictureEffect(std::move(made));
        pass = added;
    }
    else if (!isOn && pass != nullptr)
    {
        frame.removeEffect(*pass);
        pass = nullptr;
    }
}
}  // namespace

void PictureEffects::apply(Frame& frame, const CComPtr<ID3D11Device>& device, const Camera& camera)
{
    switchPass(
        frame,
        mEyeDome,
        eyeDomeLighting.strength > 0.0F,
        [&] { return std::make_unique<EyeDomePass>(device, camera); }
    );
    if (mEyeDome != nullptr)
    {
        mEyeDome->setLighting(eyeDomeLighting);
    }
    switchPass(
        frame,
        mStraightAlpha,
        hasTransparentBackground,
        [&] { return std::make_unique<StraightAlphaPass>(device, camera); }
    );
}
}  // namespace Render
