#pragma once

#include "apps/cli/PolygonWithHoles.h"
#include <math/Point.h>

#include <string_view>
#include <vector>

namespace Cli
{
/// The polygons of GeoJSON: of a Polygon, a MultiPolygon, a Feature or a FeatureCollection of these. Coordinates are
/// taken as they are; heights do not count.
/// @param origin  what corners become relative to
/// @throws std::runtime_error  for text that is no JSON or too deep or large, naming the field and what was expected
/// Source  RFC 7946, "The GeoJSON format" (2016).
std::vector<PolygonWithHoles> parseGeoJson(std::string_view text, const Math::Point<double, 3>& origin);
}  // namespace Cli
