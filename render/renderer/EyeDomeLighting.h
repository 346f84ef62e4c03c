#pragma once

namespace Render
{
/// How strongly pixels are darkened before which their neighbours stand (eye-dome lighting).
struct EyeDomeLighting
{
    /// 0 is off. At 1 a pixel whose eight neighbours all stand nearer by a hundredth of what the picture's
    /// height spans at that distance keeps 1 / e of its light.
    float strength = 0.0F;

    /// From a pixel to its neighbours, pixels. Broader rims need more; at least the nearest pixels count.
    float radius = 1.4F;

    friend bool operator==(const EyeDomeLighting&, const EyeDomeLighting&) = default;
};
}  // namespace Render
