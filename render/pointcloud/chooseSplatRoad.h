#pragma once

#include "render/Export.h"

namespace Render
{
/// How points become splats.
enum class SplatRoad
{
    Automatic,  ///< as chooseSplatRoad decides
    Compute,    ///< by compute shaders and one full-screen pass
    Quads,      ///< by triangles, two a point
};

/// What the choice hangs on.
struct SplatConditions
{
    SplatRoad wanted = SplatRoad::Automatic;  ///< what the host has asked for
    bool isTomographic = false;               ///< every splat adds to its pixels
    float maxSplatSize = 0.0F;                ///< pixels
    bool isOutputOrdered = false;  ///< one fragment decides a pixel, and the depth test says which one
    bool fitsBuffers = false;      ///< the device's limits admit the pixel buffers
};

/// Splats larger than this, in pixels, are drawn as quads: walking over their pixels on one thread each would
/// cost more than rasterizing them.
inline constexpr float kLargestComputedSplat = 32.0F;

/// The road that a frame takes; never Automatic.
///
/// The compute road keeps one winner a pixel, so it serves only where one fragment decides; the road that is
/// wanted is taken wherever it can draw the same picture.
RENDER_API SplatRoad chooseSplatRoad(const SplatConditions& conditions) noexcept;
}  // namespace Render
