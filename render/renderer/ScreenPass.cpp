#include "render/renderer/ScreenPass.h"

#include "render/renderer/CleanContext.h"
#include "render/renderer/PassImages.h"
#include "render/renderer/View.h"
#include "render/renderer/unblendedTarget.h"
#include "render/scene/Camera.h"

#include <utility>

namespace Render
{
namespace
{
constexpr UINT kStencilReference = 1;
constexpr UINT kAllSamples = 0xFFFFFFFFU;

D3D11_BLEND_DESC noBlend()
{
    D3D11_BLEND_DESC desc{};
    desc.AlphaToCoverageEnable = FALSE;
    desc.IndependentBlendEnable = FALSE;
    for (D3D11_RENDER_TARGET_BLEND_DESC& target : desc.RenderTarget)
    {
        target = unblendedTarget();
    }
    return desc;
}

/// Images as a pixel shader reads them, until the end of its life.
class [[nodiscard]] BoundInputs : private Core::NonCopyable
{
public:
    BoundInputs(ID3D11DeviceContext* context, const PassImages& images, const std::vector<std::string>& names)
        : BoundInputs(context, names)
    {
        for (const std::string& name : names)
        {
            mPasses.push_back(&images.bind(context, name, static_cast<unsigned int>(mPasses.size())));
        }
    }

    ~BoundInputs()
    {
        for (std::size_t i = 0; i < mPasses.size(); ++i)
        {
            PassImages::unbind(mContext, mNames[i], *mPasses[i]);
        }
    }

private:
    /// With none bound: from here on the destructor runs, also when a later input cannot be bound.
    BoundInputs(ID3D11DeviceContext* context, const std::vector<std::string>& names)
        : mContext(context), mNames(names)
    {
        mPasses.reserve(names.size());
    }

    ID3D11DeviceContext* mContext;
    const std::vector<std::string>& mNames;
    std::vector<RenderPass*> mPasses;  // of the names that are bound, in their order
};
}  // namespace

ScreenPass::ScreenPass(
    const CComPtr<ID3D11Device>& device, const Camera& camera, std::vector<std::string> inputs
)
    : FramePass(device, camera.viewport()),
      mInputs(std::move(inputs)),
      mDepthFree(device, camera.isZBufferReversed(), false, false),
      mBlendNone(device, noBlend())
{
}

void ScreenPass::draw(const FrameInput& input, const PassImages& images)
{
    ID3D11DeviceContext* const context = input.context;
    const CleanContext clean(context);
    input.view.camera()->viewport().set(context);  // the end of the pass before has cleared it away
    targets().begin(context);
    mBlendNone.set(context, nullptr, kAllSamples);
    mDepthFree.set(context, kStencilReference);
    targets().clearAllRenderTargets(context, true);

    const BoundInputs inputs(context, images, mInputs);
    drawPixels(input);
}
}  // namespace Render
