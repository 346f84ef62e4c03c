#pragma once

#include "render/Render.h"
#include "render/platform/ComPtr.h"

#include <cstdint>
#include <memory>

namespace Render
{
struct FrameInput;

/// Which renderable a pixel shows: draws the scene into images of its own, and looks at the pixel after each
/// renderable.
///
/// Threads  rendering thread only.
/// @param rendererId  under which renderables are initialised
/// @param x, y        within the camera's viewport
/// @returns the last one that has changed the pixel, null where none has
/// @throws ComException  when the images cannot be made, the pixel cannot be read, or a renderable cannot draw
std::shared_ptr<Renderable> ownerOfPixel(
    const CComPtr<ID3D11Device>& device,
    const FrameInput& input,
    std::uint64_t rendererId,
    std::uint32_t x,
    std::uint32_t y
);
}  // namespace Render
