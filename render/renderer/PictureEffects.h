#pragma once

#include "render/Render.h"
#include "render/renderer/EyeDomeLighting.h"

namespace Render
{
class EyeDomePass;
class Frame;
class StraightAlphaPass;

/// The settings of a renderer that are effects on its picture, and their passes while they are on.
///
/// Threads  rendering thread only, not locked.
class PictureEffects
{
public:
    /// What is on from the next apply() on.
    EyeDomeLighting eyeDomeLighting;
    bool hasTransparentBackground = false;

    /// Gives the frame the passes that are on and takes away those that are off, with their textures.
    /// @param frame  always the same
    /// @throws ComException  when the device refuses something; the frame can be drawn nevertheless
    void apply(Frame& frame, const CComPtr<ID3D11Device>& device, const Camera& camera);

private:
    EyeDomePass* mEyeDome = nullptr;  // the frame's, as the next
    StraightAlphaPass* mStraightAlpha = nullptr;
};
}  // namespace Render
