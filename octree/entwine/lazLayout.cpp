#include "octree/entwine/lazLayout.h"

#include "octree/las/rowLayout.h"

#include <stdexcept>
#include <string>

namespace Entwine
{
Octree::RowLayout lazLayout(const Las::LazHeader& header, const Octree::RowLayout& declared)
{
    Octree::RowLayout layout = Las::rowLayout(header);
    if (declared.rgb && !layout.rgb)
    {
        throw std::runtime_error(
            "point format " + std::to_string(header.pointFormat) +
            " has no colours, expected 2, 3, 7 or 8 as the schema declares Red, Green and Blue"
        );
    }
    const auto dropUndeclared = [](auto& present, bool isDeclared)
    {
        if (!isDeclared)
        {
            present.reset();
        }
    };
    dropUndeclared(layout.rgb, declared.rgb.has_value());
    dropUndeclared(layout.intensity, declared.intensity.has_value());
    dropUndeclared(layout.classification, declared.classification.has_value());
    dropUndeclared(layout.scanIndex, declared.scanIndex.has_value());
    dropUndeclared(layout.returnNumber, declared.returnNumber.has_value());
    dropUndeclared(layout.returnCount, declared.returnCount.has_value());
    dropUndeclared(layout.gpsTime, declared.gpsTime.has_value());
    dropUndeclared(layout.userData, declared.userData.has_value());
    dropUndeclared(layout.scanAngle, declared.scanAngle.has_value());
    return layout;
}
}  // namespace Entwine
