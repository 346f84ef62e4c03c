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
    return layout;
}
}  // namespace Las
