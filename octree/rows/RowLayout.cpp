#include "octree/rows/RowLayout.h"

#include "octree/NodePointData.h"

namespace Octree
{
unsigned RowLayout::attributeMask() const noexcept
{
    const auto bit = [](bool present, unsigned mask) { return present ? mask : 0U; };
    return kPositionAttribute | bit(rgb.has_value(), kColorAttribute) |
           bit(intensity.has_value(), kIntensityAttribute) |
           bit(classification.has_value(), kClassificationAttribute) |
           bit(scanIndex.has_value(), kScanIndexAttribute) | bit(normal.has_value(), kNormalAttribute);
}
}  // namespace Octree
