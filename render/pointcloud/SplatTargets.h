#pragma once

#include "render/Render.h"
#include "render/gpu/ShaderBuffer.h"
#include "render/platform/ComPtr.h"

#include <cstddef>

namespace Render
{
/// What the splat rasterizer keeps of each pixel: the depth that is nearest and the point that wins there.
///
/// Shape    one unsigned 32-bit number a pixel each, row after row.
/// Threads  the thread of the immediate context; not locked.
class SplatTargets
{
public:
    explicit SplatTargets(CComPtr<ID3D11Device> device);

    /// Whether buffers for so many pixels keep within what every device of feature level 11 admits.
    static bool fits(std::size_t pixelCount) noexcept;

    /// Makes room for so many pixels; less room than before is given back when it is much less.
    /// @throws ComException  when the device refuses a buffer; there is no room then
    void reserve(std::size_t pixelCount);

    const ShaderBuffer& depths() const noexcept { return mDepths; }

    const ShaderBuffer& winners() const noexcept { return mWinners; }

private:
    CComPtr<ID3D11Device> mDevice;
    std::size_t mPixelCount = 0;
    ShaderBuffer mDepths;
    ShaderBuffer mWinners;
};
}  // namespace Render
