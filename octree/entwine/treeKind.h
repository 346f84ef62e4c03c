#pragma once

#include "octree/TreeKind.h"

namespace Entwine
{
/// Entwine Point Tiles.
const Octree::TreeKind& treeKind() noexcept;
}  // namespace Entwine
