#pragma once

#include <math/Point.h>

#include <vector>

namespace Cli
{
/// A polygon of the horizontal plane.
struct PolygonWithHoles
{
    using Ring = std::vector<Math::Point<float, 2>>;

    Ring outline;             ///< corners in order, either way round
    std::vector<Ring> holes;  ///< what is left out, borders excepted
};
}  // namespace Cli
