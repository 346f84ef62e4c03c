#pragma once

#include "octree/Export.h"
#include "octree/rows/RowLayout.h"

namespace Entwine
{
struct Metadata;

/// Finds the attributes in the schema.
///
/// Colours and normals need all three of their dimensions. The scan index is PointSourceId, else OriginId. Of
/// laszip tiles only what every LAS point has counts: no normals and no OriginId.
OCTREE_API Octree::RowLayout rowLayout(const Metadata& metadata);
}  // namespace Entwine
