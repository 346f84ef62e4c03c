#pragma once

#include "octree/Location.h"

namespace Fuzz
{
/// Opens a data set and reads the first nodes of it with all that points can have.
/// @throws BrokenPromise  when columns and number of points do not agree, a position is not finite, or a
///                        message is not fit to be shown
void walkOctree(const Octree::Location& location);
}  // namespace Fuzz
