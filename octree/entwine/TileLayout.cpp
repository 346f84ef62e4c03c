#include "octree/entwine/TileLayout.h"

#include "octree/NodePointData.h"
#include "octree/entwine/TileCodec.h"

#include <string_view>

namespace Entwine
{
namespace
{
std::optional<Dimension> find(const Metadata& metadata, std::string_view name)
{
    const Dimension* const dimension = metadata.dimension(name);
    return dimension != nullptr ? std::optional(*dimension) : std::nullopt;
}

std::optional<TileLayout::Triple> findTriple(
    const Metadata& metadata, std::string_view first, std::string_view second, std::string_view third
)
{
    const std::optional<Dimension> a = find(metadata, first);
    const std::optional<Dimension> b = find(metadata, second);
    const std::optional<Dimension> c = find(metadata, third);
    return a && b && c ? std::optional(TileLayout::Triple{*a, *b, *c}) : std::nullopt;
}
}  // namespace

TileLayout::TileLayout(const Metadata& metadata)
    : bytesPerPoint(metadata.bytesPerPoint),
      position(findTriple(metadata, "X", "Y", "Z").value()),
      rgb(findTriple(metadata, "Red", "Green", "Blue")),
      intensity(find(metadata, "Intensity")),
      classification(find(metadata, "Classification")),
      scanIndex(find(metadata, "PointSourceId")),
      normal(findTriple(metadata, "NormalX", "NormalY", "NormalZ"))
{
    if (!tileCodec(metadata.dataType).hasRowsOfSchema())
    {
        normal.reset();
    }
    else if (!scanIndex)
    {
        scanIndex = find(metadata, "OriginId");
    }
}

unsigned TileLayout::attributeMask() const noexcept
{
    const auto bit = [](bool present, unsigned mask) { return present ? mask : 0U; };
    return Octree::kPositionAttribute | bit(rgb.has_value(), Octree::kColorAttribute) |
           bit(intensity.has_value(), Octree::kIntensityAttribute) |
           bit(classification.has_value(), Octree::kClassificationAttribute) |
           bit(scanIndex.has_value(), Octree::kScanIndexAttribute) |
           bit(normal.has_value(), Octree::kNormalAttribute);
}
}  // namespace Entwine
