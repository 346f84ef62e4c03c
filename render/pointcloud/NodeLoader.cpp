#include "render/pointcloud/NodeLoader.h"

#include "render/pointcloud/CachedVertices.h"

#include <utility>

namespace Render
{
NodeLoader::NodeLoader(
    const std::shared_ptr<const CachedVertices>& vertices, std::shared_ptr<Core::WorkerPool> pool
)
    : ReadAhead(
          std::move(pool),
          [vertices](const Octree::OctreeNodeId& id, VertexContainer& out, std::stop_token stopToken)
          { return vertices->load(id, out, std::move(stopToken)); },
          [vertices](const Octree::OctreeNodeId& id) { return vertices->contains(id); },
          {
              [vertices](const Octree::OctreeNodeId& id) { vertices->expect(id); },
              [vertices](const Octree::OctreeNodeId& id) { vertices->forget(id); },
          }
      )
{
}
}  // namespace Render
