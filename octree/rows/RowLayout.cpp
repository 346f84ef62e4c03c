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

unsigned RowLayout::recordMask() const noexcept
{
    const auto bit = [](bool present, unsigned mask) { return present ? mask : 0U; };
    return bit(returnNumber.has_value(), kReturnNumberAttribute) |
           bit(returnCount.has_value(), kReturnCountAttribute) | bit(gpsTime.has_value(), kGpsTimeAttribute) |
           bit(userData.has_value(), kUserDataAttribute) | bit(scanAngle.has_value(), kScanAngleAttribute);
}
}  // namespace Octree
