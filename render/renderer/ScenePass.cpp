#include "render/renderer/ScenePass.h"

#include "math/Color.h"
#include "render/renderer/CleanContext.h"
#include "render/renderer/View.h"
#include "render/renderer/unblendedTarget.h"
#include "render/scene/Camera.h"
#include "render/scene/DrawQueue.h"
#include "render/scene/Renderable.h"

namespace Render
{
namespace
{
constexpr UINT kStencilReference = 1;
constexpr UINT kAllSamples = 0xFFFFFFFFU;

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
}  // namespace

ScenePass::ScenePass(const CComPtr<ID3D11Device>& device, const Camera& camera, std::uint64_t rendererId)
    : FramePass(device, camera.viewport()),
      mDepthTested(device, camera.isZBufferReversed(), true, true),
      mDepthFree(device, camera.isZBufferReversed(), false, false),
      mBlendTransparent(device, transparentBlend()),
      mRasterizer(device, bothFacesFilled()),
      mDrawQueue(DrawQueue::shared(rendererId))
{
    targets().addDepthBuffer(D3D11_CLEAR_DEPTH, camera.clearDepthValue(), 0, 1);
    addTarget("color", DXGI_FORMAT_B8G8R8A8_UNORM);
    addTarget("worldPosition", DXGI_FORMAT_R32G32B32A32_FLOAT);  // w = 0 marks a pixel that nothing covered
    addTarget("exactWorldPosition", DXGI_FORMAT_R32G32B32A32_FLOAT);
}

void ScenePass::draw(const FrameInput& input, const PassImages&)
{
    ID3D11DeviceContext* const context = input.context;
    const CleanContext clean(context);
    input.view.camera()->viewport().set(context);
    input.view.updateZRangeIfNeeded();

    targets().begin(context);
    targets().setClearValue("color", input.background);
    const std::shared_ptr<Renderable> scene = input.view.scene();
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
    targets().clearAllRenderTargets(context, true);
    if (!scene || !scene->visible())
    {
        return;
    }
    if (!scene->joinsNeighbours() || mDrawQueue->isWatched())
    {
        scene->render();
        mDrawQueue->tellDrawn(scene);
        return;
    }
    const DrawQueue::Opened opened(*mDrawQueue);
    scene->render();
    mDrawQueue->finish();
}
}  // namespace Render
