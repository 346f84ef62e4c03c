#pragma once

#include <graphics/ColorImage.h>
#include <math/Color.h>

#include <Eigen/Core>

#include <cstdint>
#include <vector>

namespace Cli
{
/// Lays a colour over a pixel; beyond the picture nothing happens.
/// @param coverage  how much of the pixel it covers, 0 to 1, a factor on its alpha
void blend(
    Graphics::ColorImage& image, std::int64_t x, std::int64_t y, const Math::Color& color, double coverage
);

/// Fills whole pixels.
void fillRectangle(
    Graphics::ColorImage& image,
    std::int64_t left,
    std::int64_t top,
    std::int64_t width,
    std::int64_t height,
    const Math::Color& color
);

/// Fills a polygon with smooth rims.
/// @param corners  in pixels from the picture's upper left corner, y downwards; in either order
void fillPolygon(
    Graphics::ColorImage& image, const std::vector<Eigen::Vector2d>& corners, const Math::Color& color
);
}  // namespace Cli
