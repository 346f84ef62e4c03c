#include "octree/passColumns.h"

#include "octree/NodePointData.h"
#include "octree/PointBlock.h"
#include "octree/PointSink.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace Octree
{
void passColumns(const NodePointColumns& columns, PointSink& sink)
{
    const std::size_t pointCount = columns.pointCount;
    const auto isThere = [pointCount](const auto& array) { return array.size() == pointCount; };
    const auto& visibilities = columns.visibilities;
    sink.begin(
        pointCount,
        isThere(visibilities)
            ? static_cast<std::size_t>(std::count(visibilities.begin(), visibilities.end(), std::uint8_t{0}))
            : pointCount
    );

    PointBlock block;
    for (std::size_t first = 0; first < pointCount; first += block.pointCount)
    {
        block.pointCount = std::min(PointBlock::kCapacity, pointCount - first);
        block.attributes = kNoAttributes;
        const auto copy = [&](unsigned attribute, const auto& from, auto& to)
        {
            if (isThere(from))
            {
                std::copy_n(from.data() + first, block.pointCount, to.data());
                block.attributes |= attribute;
            }
        };
        if (isThere(columns.positions))
        {
            for (std::size_t i = 0; i < block.pointCount; ++i)
            {
                const Math::Point<double, 3>& position = columns.positions[first + i];
                block.x[i] = position.x;
                block.y[i] = position.y;
                block.z[i] = position.z;
            }
            block.attributes |= kPositionAttribute;
        }
        copy(kColorAttribute, columns.colors, block.colors);
        copy(kIntensityAttribute, columns.intensities, block.intensities);
        copy(kClassificationAttribute, columns.classifications, block.classifications);
        copy(kScanIndexAttribute, columns.scanIndices, block.scanIndices);
        copy(kVisibilityAttribute, columns.visibilities, block.visibilities);
        sink.take(block);
    }
}
}  // namespace Octree
