#pragma once

#include <math/HalfSpace.h>
#include <math/Point.h>

#include <string>
#include <vector>

namespace Cli
{
/// The half-spaces a x + b y + c z + d >= 0 of an option in absolute coordinates, as seen from an origin.
/// @param texts   "a,b,c,d", or several planes after each other in one text
/// @param origin  what is in front of a plane stays so; computed in double precision
/// @throws CLI::ValidationError  naming the option and the text
std::vector<Math::HalfSpace<double, 3>> parsePlanes(
    const std::string& option, const std::vector<std::string>& texts, const Math::Point<double, 3>& origin
);
}  // namespace Cli
