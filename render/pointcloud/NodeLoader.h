#pragma once

#include "core/ReadAhead.h"
#include "octree/OctreeNodeId.h"
#include "render/Export.h"
#include "render/gpu/VertexContainer.h"

#include <memory>

namespace Render
{
class CachedVertices;

/// Reads the vertices of one cloud's nodes on worker threads before the selection pass asks for them.
class NodeLoader : public Core::ReadAhead<Octree::OctreeNodeId, VertexContainer>
{
public:
    using ReadAhead::ReadAhead;

    /// Reads by way of a cache, on the process's worker threads if no others are given.
    RENDER_API explicit NodeLoader(
        const std::shared_ptr<const CachedVertices>& vertices,
        std::shared_ptr<Core::WorkerPool> pool = Core::WorkerPool::shared()
    );
};
}  // namespace Render
