#pragma once

#include "render/Render.h"
#include "render/gpu/BlendState.h"
#include "render/gpu/DepthStencilState.h"
#include "render/gpu/RasterizerState.h"
#include "render/gpu/RenderPass.h"

#include <cstdint>
#include <memory>

namespace Math
{
class Color;
}

namespace Render
{
class DrawQueue;
class View;

/// Draws one frame: the scene into the scene pass, then the post-process into the output pass.
///
/// Scene pass: "color" (BGRA8), "worldPosition" and "exactWorldPosition" (four floats each, 0 where nothing
/// was drawn) and depth. Output pass: "color" (BGRA8) and "worldPosition". Threads  rendering thread only,
/// not locked.
class Frame
{
public:
    /// The depth convention is the camera's at this moment.
    /// @param rendererId  under which renderables are initialised
    /// @throws ComException  when the device refuses a texture or state
    Frame(const CComPtr<ID3D11Device>& device, const Camera& camera, std::uint64_t rendererId);

    /// What both passes have in one size.
    struct Textures
    {
        RenderPass::Textures scene;
        RenderPass::Textures output;
    };

    /// @throws ComException  when a texture or view cannot be made
    Textures texturesOfSize(unsigned int width, unsigned int height) const;

    /// Draws into these from now on.
    /// @param textures  what texturesOfSize has given
    void use(Textures textures) noexcept;

    /// Fits the depth range if the view asks for it, then draws; leaves nothing bound, also when a renderable
    /// throws. An invisible scene still decides whether the frame is blended.
    /// @param background  of the picture, where nothing covers it
    void draw(
        ID3D11DeviceContext* context, View& view, PostProcess& postProcess, const Math::Color& background
    );

    const RenderPass& scenePass() const noexcept { return mScenePass; }

    const RenderPass& outputPass() const noexcept { return mOutputPass; }

private:
    void drawScene(ID3D11DeviceContext* context, View& view, const Math::Color& background);
    void drawOutput(
        ID3D11DeviceContext* context,
        const Viewport& viewport,
        PostProcess& postProcess,
        const Math::Color& background
    );

    RenderPass mScenePass;
    RenderPass mOutputPass;
    DepthStencilState mDepthTested;
    DepthStencilState mDepthFree;
    BlendState mBlendTransparent;
    BlendState mBlendNone;
    RasterizerState mRasterizer;
    std::shared_ptr<DrawQueue> mDrawQueue;
};
}  // namespace Render
