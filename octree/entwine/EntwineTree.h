#pragma once

#include "octree/Tree.h"
#include "octree/entwine/FileSystemLocation.h"

#include <memory>

namespace Entwine
{
/// Opens an Entwine Point Tile data set.
/// @throws std::runtime_error  always: this build reads no tiles
std::shared_ptr<const Octree::Tree> openEntwineTree(const FileSystemLocation& location);
}  // namespace Entwine
