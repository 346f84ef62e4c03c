#pragma once

#include "samples/scene/Surface.h"
#include "samples/scene/Vector.h"

#include <string>
#include <vector>

namespace Samples
{
/// A piece of a building that is modelled rather than scanned.
struct ModelPart
{
    std::string name;
    std::vector<Surface> surfaces;
};

/// A smock mill: stone base, gallery, boarded tower of eight sides, cap and sails, 13 m to the top of the
/// cap.
/// @param foot  middle of the ground that it stands on; the base goes down below it, for slopes
std::vector<ModelPart> windmill(Vector foot);
}  // namespace Samples
