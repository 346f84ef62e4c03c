#include "render/pointcloud/chooseSplatRoad.h"

namespace Render
{
SplatRoad chooseSplatRoad(const SplatConditions& conditions) noexcept
{
    const bool isComputable =
        !conditions.isTomographic && conditions.isOutputOrdered && conditions.fitsBuffers;
    if (!isComputable || conditions.wanted == SplatRoad::Quads)
    {
        return SplatRoad::Quads;
    }
    if (conditions.wanted == SplatRoad::Compute)
    {
        return SplatRoad::Compute;
    }
    return conditions.maxSplatSize <= kLargestComputedSplat ? SplatRoad::Compute : SplatRoad::Quads;
}
}  // namespace Render
