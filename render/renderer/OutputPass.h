#pragma once

#include "render/renderer/ScreenPass.h"

namespace Render
{
/// Lets the post-process make the picture: "color" (BGRA8) and "worldPosition".
class OutputPass final : public ScreenPass
{
public:
    /// @throws ComException  when the device refuses a texture or state
    OutputPass(const CComPtr<ID3D11Device>& device, const Camera& camera);

    void draw(const FrameInput& input, const PassImages& images) override;

private:
    void drawPixels(const FrameInput& input) override;
};
}  // namespace Render
