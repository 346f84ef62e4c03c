#pragma once

#include "render/Render.h"
#include "render/renderer/EyeDomeLighting.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Render
{
/// The constant block of shaders/eyedome.hlsl.
struct EyeDomeConstants
{
    std::array<float, 4> depthOfDistance{};  ///< the projection's elements (2, 2), (2, 3), (3, 2), (3, 3)
    float minDepth = 0.0F;                   ///< of the viewport
    float depthFactor = 1.0F;                ///< 1 / (greatest - least depth of the viewport)
    float clearDepth = 0.0F;                 ///< where nothing is drawn
    float darkening = 0.0F;                  ///< by a mean step of 1 in what the shader measures
    std::int32_t straight = 1;               ///< pixels to the neighbours beside, above and below
    std::int32_t diagonal = 1;               ///< pixels to the four others, across and down each
    std::int32_t columns = 0;                ///< of the picture
    std::int32_t rows = 0;                   ///< of the picture

    friend bool operator==(const EyeDomeConstants&, const EyeDomeConstants&) = default;
};

static_assert(sizeof(EyeDomeConstants) == 48);
static_assert(offsetof(EyeDomeConstants, minDepth) == 16);
static_assert(offsetof(EyeDomeConstants, straight) == 32);

/// Steps in depth are measured in heights of the picture: of a parallel projection as they are, of a
/// perspective relative to the distance, so that neither its field of view nor the size of the scene matters.
EyeDomeConstants eyeDomeConstants(const Camera& camera, const EyeDomeLighting& lighting);
}  // namespace Render
