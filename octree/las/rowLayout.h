#pragma once

#include "octree/Export.h"
#include "octree/las/LazHeader.h"
#include "octree/rows/RowLayout.h"

namespace Las
{
/// What the rows of LasRow hold: all attributes of points that LAS has, the scan index being the point source.
///
/// Threads  any.
OCTREE_API Octree::RowLayout rowLayout(const LazHeader& header);
}  // namespace Las
