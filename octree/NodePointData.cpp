#include "octree/NodePointData.h"

namespace Octree
{
void NodePointColumns::clear() noexcept
{
    pointCount = 0;
    positions.clear();
    colors.clear();
    intensities.clear();
    classifications.clear();
    scanIndices.clear();
    visibilities.clear();
    normals.clear();
}
}  // namespace Octree
