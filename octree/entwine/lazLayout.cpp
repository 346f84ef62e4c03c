#include "octree/entwine/lazLayout.h"

#include "octree/las/decodeChunks.h"

#include <stdexcept>
#include <string>

namespace Entwine
{
using Las::LasRow;

TileLayout lazLayout(const Las::LazHeader& header, const TileLayout& declared)
{
    const auto field = [](const char* name, NumberType type, std::size_t size, std::size_t position)
    {
        Dimension dimension;
        dimension.name = name;
        dimension.type = type;
        dimension.size = size;
        dimension.byteOffset = position;
        return dimension;
    };
    TileLayout layout = declared;
    layout.bytesPerPoint = LasRow::length(header);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        layout.position[axis] =
            field(declared.position[axis].name.c_str(), NumberType::Signed, 4, LasRow::kX + 4 * axis);
        layout.position[axis].scale = header.scale[axis];
        layout.position[axis].offset = header.offset[axis];
    }
    if (declared.rgb)
    {
        if (!header.hasColors)
        {
            throw std::runtime_error(
                "point format " + std::to_string(header.pointFormat) +
                " has no colours, expected 2, 3, 7 or 8 as the schema declares Red, Green and Blue"
            );
        }
        for (std::size_t i = 0; i < 3; ++i)
        {
            (*layout.rgb)[i] =
                field((*declared.rgb)[i].name.c_str(), NumberType::Unsigned, 2, LasRow::kColors + 2 * i);
        }
    }
    if (declared.intensity)
    {
        layout.intensity = field("Intensity", NumberType::Unsigned, 2, LasRow::kIntensity);
    }
    if (declared.classification)
    {
        layout.classification = field("Classification", NumberType::Unsigned, 1, LasRow::kClassification);
    }
    if (declared.scanIndex)
    {
        layout.scanIndex = field("PointSourceId", NumberType::Unsigned, 2, LasRow::kPointSource);
    }
    return layout;
}
}  // namespace Entwine
