#pragma once

#include "graphics/ColorImage.h"
#include "graphics/Export.h"

#include <cstdint>

namespace Graphics
{
/// A picture made smaller: each pixel is the mean of a square of pixels, of their light and not of their sRGB
/// codes, and weighted by their alpha.
/// @param factor  side of a square in pixels, at least 1
/// @throws std::invalid_argument  for a factor that does not divide width and height
GRAPHICS_API ColorImage reducedImage(const ColorImage& image, std::uint64_t factor);
}  // namespace Graphics
