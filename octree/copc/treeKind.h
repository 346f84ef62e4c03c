#pragma once

#include "octree/TreeKind.h"

namespace Copc
{
/// Cloud Optimized Point Clouds.
const Octree::TreeKind& treeKind() noexcept;
}  // namespace Copc
