#pragma once

#include "samples/scene/SitePlan.h"
#include "samples/scene/Surface.h"
#include "samples/scene/Terrain.h"

#include <vector>

namespace Samples
{
/// Puts up street lamps, fences and the cars that stand about, and leaves straw bales on the meadow.
void addStreetFurniture(std::vector<Surface>& surfaces, const Terrain& terrain);
}  // namespace Samples
