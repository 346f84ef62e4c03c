#pragma once

#include "octree/Export.h"

namespace Octree
{
struct NodePointColumns;
class PointSink;

/// Hands points that lie in arrays to a sink, block by block. An array that does not have one value for each
/// point counts as absent; normals are left out.
OCTREE_API void passColumns(const NodePointColumns& columns, PointSink& sink);
}  // namespace Octree
