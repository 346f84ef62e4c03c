#include "octree/las/rowLayout.h"

#include "octree/las/decodeChunks.h"

#include <string>

namespace Las
{
namespace
{
Octree::Dimension field(
    const std::string& name, Octree::NumberType type, std::size_t size, std::size_t position
)
{
    Octree::Dimension dimension;
    dimension.name = name;
    dimension.type = type;
    dimension.size = size;
    dimension.byteOffset = position;
    return dimension;
}
}  // namespace

Octree::RowLayout rowLayout(const LazHeader& header)
{
    using enum Octree::NumberType;
    Octree::RowLayout layout;
    layout.bytesPerPoint = LasRow::length(header);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        layout.position[axis] = field({"XYZ"[axis]}, Signed, 4, LasRow::kX + 4 * axis);
        layout.position[axis].scale = header.scale[axis];
        layout.position[axis].offset = header.offset[axis];
    }
    if (header.hasColors)
    {
        layout.rgb = {
            field("Red", Unsigned, 2, LasRow::kColors),
            field("Green", Unsigned, 2, LasRow::kColors + 2),
            field("Blue", Unsigned, 2, LasRow::kColors + 4)};
    }
    layout.intensity = field("Intensity", Unsigned, 2, LasRow::kIntensity);
    layout.classification = field("Classification", Unsigned, 1, LasRow::kClassification);
    layout.scanIndex = field("PointSourceId", Unsigned, 2, LasRow::kPointSource);
    if (header.hasRecordRows)
    {
        const std::size_t begin = LasRow::records(header);
        layout.returnNumber = field("ReturnNumber", Unsigned, 1, begin + LasRow::kReturnNumber);
        layout.returnCount = field("NumberOfReturns", Unsigned, 1, begin + LasRow::kReturnCount);
        layout.userData = field("UserData", Unsigned, 1, begin + LasRow::kUserData);
        layout.scanAngle = field("ScanAngleRank", Float, 4, begin + LasRow::kScanAngle);
        if (header.hasTime)
        {
            layout.gpsTime = field("GpsTime", Float, 8, begin + LasRow::kGpsTime);
        }
    }
    return layout;
}
}  // namespace Las
