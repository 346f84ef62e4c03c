#pragma once

#include "samples/scene/SitePlan.h"
#include "samples/scene/Surface.h"
#include "samples/scene/Terrain.h"

#include <cstdint>
#include <vector>

namespace Samples
{
/// Plants the wood, the orchard, the trees along the road, around the pond and in the gardens, and bushes.
void addTrees(
    std::vector<Surface>& surfaces, const SitePlan& plan, const Terrain& terrain, std::uint64_t seed
);
}  // namespace Samples
