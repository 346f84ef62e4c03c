#pragma once

#include "render/gpu/ConstantBlock.h"
#include "render/gpu/PixelShader.h"
#include "render/gpu/VertexShader.h"
#include "render/renderer/ScreenPass.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Render
{
/// The constant block of shaders/straightalpha.hlsl.
struct StraightAlphaConstants
{
    std::array<float, 4> background{};  ///< red, green, blue, alpha
    float opacity = 1.0F;               ///< factor of alpha
    float clearDepth = 0.0F;            ///< where nothing is drawn
    std::int32_t kind = 0;              ///< number of a tomographic RenderMode, else 0
    std::int32_t padding = 0;           ///< not read

    friend bool operator==(const StraightAlphaConstants&, const StraightAlphaConstants&) = default;
};

static_assert(sizeof(StraightAlphaConstants) == 32);
static_assert(offsetof(StraightAlphaConstants, opacity) == 16);
static_assert(offsetof(StraightAlphaConstants, kind) == 24);

/// Makes the picture's alpha tell how much covers a pixel: the background counts with its own alpha, surfaces
/// hide it, and what the tomographic modes add up covers it in part. Colours are not multiplied by alpha.
class StraightAlphaPass final : public ScreenPass
{
public:
    /// @throws ComException  when the device refuses a texture, state, buffer or shader
    StraightAlphaPass(const CComPtr<ID3D11Device>& device, const Camera& camera);

private:
    void drawPixels(const FrameInput& input) override;

    ConstantBlock<StraightAlphaConstants> mConstants;
    VertexShader mVertexShader;
    PixelShader mPixelShader;
};
}  // namespace Render
