#pragma once

#include "render/Render.h"
#include "render/gpu/RenderPass.h"
#include "render/renderer/FramePass.h"
#include "render/renderer/ScreenPass.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Render
{
/// Draws one frame, pass after pass: the scene, the screen effects in their order, the picture, and what is
/// done to the picture.
///
/// Each pass reads images of those before it by name, see ScenePass, ScreenPass and OutputPass.
/// Threads  rendering thread only, not locked.
class Frame
{
public:
    /// The depth convention is the camera's at this moment.
    /// @param rendererId  under which renderables are initialised
    /// @throws ComException  when the device refuses a texture or state
    Frame(const CComPtr<ID3D11Device>& device, const Camera& camera, std::uint64_t rendererId);

    /// Adds an effect behind those that there are, before the picture.
    /// @param effect  made for the size that the frame has
    void addEffect(std::unique_ptr<ScreenPass> effect);

    /// Adds an effect on the picture that the post-process has made, behind those that there are.
    /// @param effect  made for the size that the frame has; its "color", if it draws one, is BGRA8
    void addPictureEffect(std::unique_ptr<ScreenPass> effect);

    /// Takes an effect out, and gives its textures back.
    /// @param effect  one of this frame
    void removeEffect(const ScreenPass& effect) noexcept;

    /// Of each pass, what it has in the size of the frame.
    using Textures = std::vector<RenderPass::Textures>;

    /// @throws ComException  when a texture or view cannot be made
    Textures texturesOfSize(unsigned int width, unsigned int height) const;

    /// Draws into these from now on.
    /// @param textures  what texturesOfSize has given, with no effect added since
    void use(Textures textures) noexcept;

    /// Draws all passes that are on; leaves nothing bound, also when a renderable throws.
    /// @param background  of the picture, where nothing covers it
    void draw(
        ID3D11DeviceContext* context, View& view, PostProcess& postProcess, const Math::Color& background
    );

    /// What the scene was drawn to, before any effect.
    const RenderPass& scenePass() const noexcept { return mPasses.front()->targets(); }

    /// What the post-process has made, before any effect on the picture.
    const RenderPass& outputPass() const noexcept { return mOutput->targets(); }

    /// The pass whose "color" is the picture of the last frame.
    const RenderPass& picture() const noexcept { return mPicture->targets(); }

private:
    std::vector<std::unique_ptr<FramePass>> mPasses;  // in the order of drawing
    const FramePass* mOutput;
    const FramePass* mPicture;
};
}  // namespace Render
