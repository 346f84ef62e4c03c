#pragma once

#include "octree/NodePointData.h"
#include "octree/OctreeNodeId.h"
#include "render/Export.h"

#include <stop_token>

namespace Octree
{
class Octree;
}

namespace Render
{
class VertexContainer;

/// What of a node's points is read to draw them; AttributeMask bits.
inline constexpr unsigned kDrawnAttributes =
    Octree::kAllAttributes & ~static_cast<unsigned>(Octree::kNormalAttribute);

/// Makes vertices of decoded points and drops those that are hidden.
///
/// Positions become single precision in the octree's own frame, of the intensity the high byte is kept, of
/// the scan index the low 16 bits. Attributes that the points lack are 0; without colours all are white.
/// @param vertices  replaced by shared ones: copies refer to them
RENDER_API void convertToVertices(const Octree::NodePointData& points, VertexContainer& vertices);

/// Reads a node and makes vertices of its points.
///
/// Threads  any; the unpacked bytes go to scratch memory of the calling thread, which is kept for the next
///          node unless this one is exceptionally large. Points become vertices as they are decoded.
/// @param vertices  replaced by shared ones: copies refer to them
/// @return false when a stop was requested; `vertices` is then unspecified
/// @throws std::runtime_error  naming the file and what was wrong
RENDER_API bool convertToVertices(
    const Octree::Octree& octree,
    const Octree::OctreeNodeId& id,
    VertexContainer& vertices,
    std::stop_token stopToken
);
}  // namespace Render
