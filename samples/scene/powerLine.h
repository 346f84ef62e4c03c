#pragma once

#include "samples/scene/Surface.h"
#include "samples/scene/Terrain.h"

#include <vector>

namespace Samples
{
/// Leads a power line on lattice masts across the scene.
void addPowerLine(std::vector<Surface>& surfaces, const Terrain& terrain);

/// How far a wire of a span hangs below the straight line between its ends, at a share t of the span.
/// @param span  metres between the masts
/// @param parameter  metres: horizontal pull over weight per length, the catenary's radius at its lowest
///                   point
double sag(double span, double parameter, double t) noexcept;
}  // namespace Samples
