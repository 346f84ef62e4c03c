#include "octree/ColumnSink.h"

#include "octree/NodePointData.h"
#include "octree/PointBlock.h"

#include <algorithm>

namespace Octree
{
void ColumnSink::begin(std::size_t pointCount, std::size_t)
{
    const auto resize = [&](unsigned attribute, auto& array)
    { array.resize((mAttributes & attribute) != 0 ? pointCount : 0); };

    mOut.pointCount = pointCount;
    resize(kPositionAttribute, mOut.positions);
    resize(kColorAttribute, mOut.colors);
    resize(kIntensityAttribute, mOut.intensities);
    resize(kClassificationAttribute, mOut.classifications);
    resize(kScanIndexAttribute, mOut.scanIndices);
    resize(kVisibilityAttribute, mOut.visibilities);
    resize(kNormalAttribute, mOut.normals);
    resize(kReturnNumberAttribute, mOut.returnNumbers);
    resize(kReturnCountAttribute, mOut.returnCounts);
    resize(kGpsTimeAttribute, mOut.gpsTimes);
    resize(kPointSourceAttribute, mOut.pointSources);
    resize(kUserDataAttribute, mOut.userData);
    resize(kScanAngleAttribute, mOut.scanAngles);
}

void ColumnSink::take(PointBlock& block)
{
    const auto copy = [&](unsigned attribute, const auto& from, auto& to)
    {
        if ((mAttributes & attribute) != 0)
        {
            std::copy_n(from.data(), block.pointCount, to.data() + mTaken);
        }
    };
    if (hasPosition(mAttributes))
    {
        for (std::size_t i = 0; i < block.pointCount; ++i)
        {
            mOut.positions[mTaken + i] = {block.x[i], block.y[i], block.z[i]};
        }
    }
    copy(kColorAttribute, block.colors, mOut.colors);
    copy(kIntensityAttribute, block.intensities, mOut.intensities);
    copy(kClassificationAttribute, block.classifications, mOut.classifications);
    copy(kScanIndexAttribute, block.scanIndices, mOut.scanIndices);
    copy(kVisibilityAttribute, block.visibilities, mOut.visibilities);
    mTaken += block.pointCount;
}
}  // namespace Octree
