#include "render/renderer/Frame.h"

#include "math/Color.h"
#include "render/renderer/PostProcess.h"
#include "render/renderer/View.h"
#include "render/scene/Camera.h"
#include "render/scene/DrawQueue.h"
#include "render/scene/Renderable.h"

#include <array>
#include <string>
#include <utility>

namespace Render
{
namespace
{
constexpr UINT kStencilReference = 1;
constexpr UINT kAllSamples = 0xFFFFFFFFU;
const std::array<std::string, 3> kPostProcessInputs{"color", "worldPosition", "exactWorldPosition"};

D3D11_RENDER_TARGET_BLEND_DESC unblendedTarget()
{
    D3D11_RENDER_TARGET_BLEND_DESC target{};
    target.BlendEnable = FALSE;
    target.SrcBlend = D3D11_BLEND_ONE;
    target.DestBlend = D3D11_BLEND_ZERO;
    target.BlendOp = D3D11_BLEND_OP_ADD;
    target.SrcBlendAlpha = D3D11_BLEND_ONE;
    target.DestBlendAlpha = D3D11_BLEND_ZERO;
    target.BlendOpAlpha = D3D11_BLEND_OP_ADD;
    target.RenderTargetWriteMask = D3D11_COLOR_WRITE_ENABLE_ALL;
    return target;
}

/// The colour target blends by alpha; the position targets keep the last fragment.
D3D11_BLEND_DESC transparentBlend()
{
    D3D11_BLEND_DESC desc{};
    desc.AlphaToCoverageEnable = FALSE;
    desc.IndependentBlendEnable = TRUE;
    for (D3D11_RENDER_TARGET_BLEND_DESC& target : desc.RenderTarget)
    {
        target = unblendedTarget();
    }
    desc.RenderTarget[0].BlendEnable = TRUE;
    desc.RenderTarget[0].SrcBlend = D3D11_BLEND_SRC_ALPHA;
    desc.RenderTarget[0].DestBlend = D3D11_BLEND_INV_SRC_ALPHA;
    return desc;
}

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

D3D11_RASTERIZER_DESC bothFacesFilled()
{
    D3D11_RASTERIZER_DESC desc{};
    desc.FillMode = D3D11_FILL_SOLID;
    desc.CullMode = D3D11_CULL_NONE;
    desc.FrontCounterClockwise = FALSE;
    desc.DepthBias = 0;
    desc.DepthBiasClamp = 0.0F;
    desc.SlopeScaledDepthBias = 0.0F;
    desc.DepthClipEnable = TRUE;
    desc.ScissorEnable = FALSE;
    desc.MultisampleEnable = FALSE;
    desc.AntialiasedLineEnable = FALSE;
    return desc;
}

RenderPass emptyPass(const CComPtr<ID3D11Device>& device, const Viewport& viewport)
{
    return RenderPass(
        device, static_cast<unsigned int>(viewport.width()), static_cast<unsigned int>(viewport.height())
    );
}

/// Nothing reads the other mip levels.
D3D11_TEXTURE2D_DESC oneMipLevel(DXGI_FORMAT format)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.MipLevels = 1;
    desc.Format = format;
    return desc;
}

RenderPass scenePass(const CComPtr<ID3D11Device>& device, const Camera& camera)
{
    RenderPass pass = emptyPass(device, camera.viewport());
    pass.addDepthBuffer(D3D11_CLEAR_DEPTH, camera.clearDepthValue(), 0, 1);
    pass.addRenderTarget("color", oneMipLevel(DXGI_FORMAT_B8G8R8A8_UNORM));
    for (const char* const name : {"worldPosition", "exactWorldPosition"})
    {
        pass.addRenderTarget(name, oneMipLevel(DXGI_FORMAT_R32G32B32A32_FLOAT));
        pass.setClearValue(name, 0.0F, 0.0F, 0.0F, 0.0F);  // w = 0 marks a pixel that nothing covered
    }
    return pass;
}

RenderPass outputPass(const CComPtr<ID3D11Device>& device, const Camera& camera)
{
    RenderPass pass = emptyPass(device, camera.viewport());
    pass.addRenderTarget("color", oneMipLevel(DXGI_FORMAT_B8G8R8A8_UNORM));
    pass.addRenderTarget("worldPosition", oneMipLevel(DXGI_FORMAT_R32G32B32A32_FLOAT));
    pass.setClearValue("worldPosition", 0.0F, 0.0F, 0.0F, 0.0F);
    return pass;
}

/// Leaves the context without any state or target when its life ends, however that comes about.
class [[nodiscard]] CleanContext
{
public:
    explicit CleanContext(ID3D11DeviceContext* context) noexcept : mContext(context) {}

    CleanContext(const CleanContext&) = delete;
    CleanContext& operator=(const CleanContext&) = delete;

    ~CleanContext()
    {
        mContext->ClearState();
        mContext->OMSetRenderTargets(0, nullptr, nullptr);
    }

private:
    ID3D11DeviceContext* mContext;
};

/// The scene pass's targets as the post-process reads them.
class [[nodiscard]] BoundInputs
{
public:
    BoundInputs(ID3D11DeviceContext* context, RenderPass& pass) : mContext(context), mPass(pass)
    {
        unsigned int slot = 0;
        for (const std::string& name : kPostProcessInputs)
        {
            mPass.bindTexture(mContext, name, ShaderConfiguration::Pixel, slot++);
        }
    }

    BoundInputs(const BoundInputs&) = delete;
    BoundInputs& operator=(const BoundInputs&) = delete;

    ~BoundInputs()
    {
        for (const std::string& name : kPostProcessInputs)
        {
            mPass.unbindTexture(mContext, name);
        }
    }

private:
    ID3D11DeviceContext* mContext;
    RenderPass& mPass;
};
}  // namespace

Frame::Frame(const CComPtr<ID3D11Device>& device, const Camera& camera, std::uint64_t rendererId)
    : mScenePass(Render::scenePass(device, camera)),
      mOutputPass(Render::outputPass(device, camera)),
      mDepthTested(device, camera.isZBufferReversed(), true, true),
      mDepthFree(device, camera.isZBufferReversed(), false, false),
      mBlendTransparent(device, transparentBlend()),
      mBlendNone(device, noBlend()),
      mRasterizer(device, bothFacesFilled()),
      mDrawQueue(DrawQueue::shared(rendererId))
{
}

Frame::Textures Frame::texturesOfSize(unsigned int width, unsigned int height) const
{
    return {mScenePass.texturesOfSize(width, height), mOutputPass.texturesOfSize(width, height)};
}

void Frame::use(Textures textures) noexcept
{
    mScenePass.use(std::move(textures.scene));
    mOutputPass.use(std::move(textures.output));
}

void Frame::draw(
    ID3D11DeviceContext* context, View& view, PostProcess& postProcess, const Math::Color& background
)
{
    drawScene(context, view, background);
    drawOutput(context, view.camera()->viewport(), postProcess, background);
}

void Frame::drawScene(ID3D11DeviceContext* context, View& view, const Math::Color& background)
{
    const CleanContext clean(context);
    view.camera()->viewport().set(context);
    view.updateZRangeIfNeeded();

    mScenePass.begin(context);
    mScenePass.setClearValue("color", background);
    const std::shared_ptr<Renderable> scene = view.scene();
    if (scene && scene->isTransparent())
    {
        mBlendTransparent.set(context, nullptr, kAllSamples);
        mDepthFree.set(context, kStencilReference);
    }
    else
    {
        mDepthTested.set(context, kStencilReference);
    }
    mRasterizer.set(context);
    mScenePass.clearAllRenderTargets(context, true);
    if (!scene || !scene->visible())
    {
        return;
    }
    if (!scene->joinsNeighbours())
    {
        scene->render();
        return;
    }
    const DrawQueue::Opened opened(*mDrawQueue);
    scene->render();
    mDrawQueue->finish();
}

void Frame::drawOutput(
    ID3D11DeviceContext* context,
    const Viewport& viewport,
    PostProcess& postProcess,
    const Math::Color& background
)
{
    const CleanContext clean(context);
    viewport.set(context);  // the end of the scene pass has cleared it away
    mOutputPass.begin(context);
    mBlendNone.set(context, nullptr, kAllSamples);
    mDepthFree.set(context, kStencilReference);
    mOutputPass.setClearValue("color", background);
    mOutputPass.clearAllRenderTargets(context, true);

    const BoundInputs inputs(context, mScenePass);
    postProcess.recover();  // nothing of a frame that failed is bound any more
    postProcess.draw(context);
}
}  // namespace Render
