#pragma once

#include "octree/TreeKind.h"

namespace PoTree
{
/// Three files.
const Octree::TreeKind& treeKind() noexcept;
}  // namespace PoTree
