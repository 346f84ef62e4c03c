#include "octree/NodePointData.h"

#include <algorithm>

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
    returnNumbers.clear();
    returnCounts.clear();
    gpsTimes.clear();
    pointSources.clear();
    userData.clear();
    scanAngles.clear();
}

void NodePointColumns::releaseAbove(std::size_t keptPointCount) noexcept
{
    const std::size_t room = std::max(
        {positions.capacity(),
         colors.capacity(),
         intensities.capacity(),
         classifications.capacity(),
         scanIndices.capacity(),
         visibilities.capacity(),
         normals.capacity(),
         returnNumbers.capacity(),
         returnCounts.capacity(),
         gpsTimes.capacity(),
         pointSources.capacity(),
         userData.capacity(),
         scanAngles.capacity()}
    );
    if (room > keptPointCount)
    {
        *this = NodePointColumns();
    }
}
}  // namespace Octree
