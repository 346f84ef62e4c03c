#pragma once

#include "samples/scene/SitePlan.h"
#include "samples/scene/Surface.h"
#include "samples/scene/Terrain.h"

#include <vector>

namespace Samples
{
/// Builds what stands on the plan's building sites.
void addBuildings(std::vector<Surface>& surfaces, const SitePlan& plan, const Terrain& terrain);
}  // namespace Samples
