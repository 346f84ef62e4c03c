#pragma once

#include "samples/scene/Surface.h"
#include "samples/scene/Terrain.h"

#include <cstdint>
#include <vector>

namespace Samples
{
/// Lines the pond with reeds and stones and builds the jetty with its boat.
void addWaterside(std::vector<Surface>& surfaces, const Terrain& terrain, std::uint64_t seed);
}  // namespace Samples
