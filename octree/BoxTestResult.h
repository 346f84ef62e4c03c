#pragma once

namespace Octree
{
/// How a box lies to a region.
enum class BoxTestResult : int
{
    Outside = -1,
    Border = 0,  ///< the box meets the region's border, or it is not known to be wholly inside or outside
    Inside = 1,
};
}  // namespace Octree
