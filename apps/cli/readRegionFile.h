#pragma once

#include "apps/cli/PolygonWithHoles.h"
#include <math/Point.h>

#include <string>
#include <vector>

namespace Cli
{
/// The polygons that an option names: a text in WKT itself, or a regular file of at most 16 MiB with WKT, GeoJSON, or a
/// corner a line as readPolygon() takes them. What the text begins with decides.
/// @param origin  what corners become relative to
/// @throws std::runtime_error  naming the file, unless the text itself is meant, and what is wrong
std::vector<PolygonWithHoles> readRegionFile(const std::string& option, const Math::Point<double, 3>& origin);
}  // namespace Cli
