#include "octree/entwine/rowLayout.h"

#include "octree/entwine/Metadata.h"
#include "octree/entwine/TileCodec.h"

#include <optional>
#include <string_view>

namespace Entwine
{
namespace
{
using Octree::RowLayout;

std::optional<Dimension> find(const Metadata& metadata, std::string_view name)
{
    const Dimension* const dimension = metadata.dimension(name);
    return dimension != nullptr ? std::optional(*dimension) : std::nullopt;
}

std::optional<RowLayout::Triple> findTriple(
    const Metadata& metadata, std::string_view first, std::string_view second, std::string_view third
)
{
    const std::optional<Dimension> a = find(metadata, first);
    const std::optional<Dimension> b = find(metadata, second);
    const std::optional<Dimension> c = find(metadata, third);
    return a && b && c ? std::optional(RowLayout::Triple{*a, *b, *c}) : std::nullopt;
}
}  // namespace

RowLayout rowLayout(const Metadata& metadata)
{
    RowLayout layout;
    layout.bytesPerPoint = metadata.bytesPerPoint;
    layout.position = findTriple(metadata, "X", "Y", "Z").value();
    layout.rgb = findTriple(metadata, "Red", "Green", "Blue");
    layout.intensity = find(metadata, "Intensity");
    layout.classification = find(metadata, "Classification");
    layout.scanIndex = find(metadata, "PointSourceId");
    layout.returnNumber = find(metadata, "ReturnNumber");
    layout.returnCount = find(metadata, "NumberOfReturns");
    layout.gpsTime = find(metadata, "GpsTime");
    layout.userData = find(metadata, "UserData");
    layout.scanAngle = find(metadata, "ScanAngleRank");
    if (tileCodec(metadata.dataType).hasRowsOfSchema())
    {
        layout.normal = findTriple(metadata, "NormalX", "NormalY", "NormalZ");
        if (!layout.scanIndex)
        {
            layout.scanIndex = find(metadata, "OriginId");
        }
    }
    return layout;
}
}  // namespace Entwine
