#pragma once

#include "apps/cli/PolygonWithHoles.h"
#include <math/Point.h>

#include <string_view>
#include <vector>

namespace Cli
{
/// Whether a text begins as a polygon in well-known text does.
bool isWktPolygon(std::string_view text) noexcept;

/// The polygons of POLYGON or MULTIPOLYGON in well-known text; heights and measures do not count.
/// @param origin  what corners become relative to
/// @throws std::runtime_error  saying where in the text what was expected, or that there are too many corners
/// Source  OGC 06-103r4, "Simple feature access, part 1" (2011), clause 7.
std::vector<PolygonWithHoles> parseWkt(std::string_view text, const Math::Point<double, 3>& origin);
}  // namespace Cli
