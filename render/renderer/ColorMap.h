#pragma once

namespace Render
{
/// The colour maps of RenderMode::ColorizeByPlaneDistance; the numbers are those that the shaders read, and
/// any other number means Turbo.
enum class ColorMap : int
{
    Turbo = 0,
    Inferno = 1,
    Magma = 2,
    Viridis = 3,
    Plasma = 4,
    Gray = 5,
    Bone = 6,
    BlueWhiteRed = 7,  ///< despite the name, 0 is red and 1 is blue
    LevelOfAccuracy = 8,
};
}  // namespace Render
