#pragma once

#include "core/NonCopyable.h"
#include "render/Render.h"
#include "render/gpu/RenderPass.h"

#include <string>

namespace Math
{
class Color;
}

namespace Render
{
class PassImages;
class View;

/// What a frame is drawn from.
struct FrameInput
{
    ID3D11DeviceContext* context;
    View& view;
    PostProcess& postProcess;
    const Math::Color& background;  ///< where nothing covers it
};

/// One step of a frame: targets of its own, and how they are drawn.
///
/// Threads  rendering thread only.
class FramePass : private Core::NonCopyable
{
public:
    virtual ~FramePass() = default;

    /// Whether it takes part in this frame. What is off draws nothing and has no images.
    virtual bool isOn(const FrameInput&) const { return true; }

    /// Draws, and leaves nothing bound, also when an exception ends it.
    /// @param images  of the passes before
    virtual void draw(const FrameInput& input, const PassImages& images) = 0;

    RenderPass& targets() noexcept { return mTargets; }

    const RenderPass& targets() const noexcept { return mTargets; }

protected:
    /// Without targets.
    FramePass(const CComPtr<ID3D11Device>& device, const Viewport& viewport);

    /// Adds a target of one mip level, cleared to zeros: nothing reads others.
    /// @throws ComException  when the device refuses the texture
    void addTarget(const std::string& name, DXGI_FORMAT format);

private:
    RenderPass mTargets;
};
}  // namespace Render
