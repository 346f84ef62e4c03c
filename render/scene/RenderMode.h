#pragma once

namespace Render
{
/// How the picture is coloured; the numbers are those that the shaders read.
enum class RenderMode : int
{
    Default = 0,                  ///< the points' colours, with brightness and contrast
    TomographicDark = 1,          ///< inverted colour, alpha from the red channel
    TomographicBright = 2,        ///< colour, alpha from the red channel
    ColorizeByNormal = 3,         ///< colour from the surface normal estimated from world positions
    ColorizeByPlaneDistance = 4,  ///< colour map over the position along the colourisation direction
    ColorizeByIntensity = 5,      ///< grey by intensity
    UniformColor = 6,             ///< grey of the colour times the renderable's uniform colour
};

/// Whether points add up in a pixel instead of hiding one another.
constexpr bool isTomographic(RenderMode renderMode) noexcept
{
    return renderMode == RenderMode::TomographicDark || renderMode == RenderMode::TomographicBright;
}
}  // namespace Render
