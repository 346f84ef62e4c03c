#pragma once

#include "render/gpu/BlendState.h"
#include "render/gpu/DepthStencilState.h"
#include "render/gpu/RasterizerState.h"
#include "render/renderer/FramePass.h"

#include <cstdint>
#include <memory>

namespace Render
{
class DrawQueue;

/// Fits the depth range if the view asks for it, then draws the scene into "color" (BGRA8), "worldPosition"
/// and "exactWorldPosition" (four floats each, 0 where nothing was drawn) and depth. An invisible scene still
/// decides whether the frame is blended.
class ScenePass final : public FramePass
{
public:
    /// The depth convention is the camera's at this moment.
    /// @param rendererId  under which renderables are initialised
    /// @throws ComException  when the device refuses a texture or state
    ScenePass(const CComPtr<ID3D11Device>& device, const Camera& camera, std::uint64_t rendererId);

    void draw(const FrameInput& input, const PassImages& images) override;

private:
    DepthStencilState mDepthTested;
    DepthStencilState mDepthFree;
    BlendState mBlendTransparent;
    RasterizerState mRasterizer;
    std::shared_ptr<DrawQueue> mDrawQueue;
};
}  // namespace Render
