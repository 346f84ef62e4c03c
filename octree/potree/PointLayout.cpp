#include "octree/potree/PointLayout.h"

#include "octree/NodePointData.h"
#include "octree/fileError.h"

#include <string>
#include <string_view>

namespace PoTree
{
namespace
{
constexpr std::uint64_t kPositionCodeSize = 16;
constexpr std::uint64_t kColorCodeSize = 8;
constexpr std::uint64_t kPlainPositionSize = 12;
constexpr std::uint64_t kPlainColorSize = 6;

void requireSize(const Attribute& attribute, std::uint64_t size, std::string_view file)
{
    if (attribute.size != size)
    {
        throw Octree::fileError(
            file,
            "attribute \"" + attribute.name + "\" has " + std::to_string(attribute.size) +
                " bytes, expected " + std::to_string(size) + " in uncompressed data"
        );
    }
}

std::uint64_t storedSize(const Attribute& attribute, Encoding encoding, std::string_view file)
{
    const bool isPosition = attribute.name == "position";
    if (!isPosition && attribute.name != "rgb")
    {
        return attribute.size;
    }
    if (encoding == Encoding::Brotli)
    {
        return isPosition ? kPositionCodeSize : kColorCodeSize;
    }
    requireSize(attribute, isPosition ? kPlainPositionSize : kPlainColorSize, file);
    return attribute.size;
}
}  // namespace

unsigned PointLayout::attributeMask() const noexcept
{
    const auto bit = [](bool present, unsigned mask) { return present ? mask : 0U; };
    return bit(position.has_value(), Octree::kPositionAttribute) |
           bit(rgb.has_value(), Octree::kColorAttribute) |
           bit(intensity.has_value(), Octree::kIntensityAttribute) |
           bit(classification.has_value(), Octree::kClassificationAttribute) |
           bit(scanIndex.has_value(), Octree::kScanIndexAttribute) |
           bit(visibility.has_value(), Octree::kVisibilityAttribute) |
           bit(octahedralNormal.has_value() || normalXyz.has_value(), Octree::kNormalAttribute);
}

unsigned PointLayout::recordMask() const noexcept
{
    const auto bit = [](bool present, unsigned mask) { return present ? mask : 0U; };
    return bit(returnNumber.has_value(), Octree::kReturnNumberAttribute) |
           bit(returnCount.has_value(), Octree::kReturnCountAttribute) |
           bit(gpsTime.has_value(), Octree::kGpsTimeAttribute) |
           bit(pointSource.has_value(), Octree::kPointSourceAttribute) |
           bit(userData.has_value(), Octree::kUserDataAttribute) |
           bit(scanAngleRank.has_value() || scanAngleSteps.has_value(), Octree::kScanAngleAttribute);
}

PointLayout makePointLayout(const Metadata& metadata, std::string_view file)
{
    PointLayout layout;
    layout.encoding = metadata.encoding;
    std::array<std::optional<std::uint64_t>, 3> normals;
    for (const Attribute& attribute : metadata.attributes)
    {
        const std::uint64_t offset = layout.bytesPerPoint;
        const auto note = [&](std::string_view name, std::uint64_t size, std::optional<std::uint64_t>& place)
        {
            if (attribute.name == name && (size == 0 || attribute.size == size))
            {
                place = offset;
            }
        };
        note("position", 0, layout.position);
        note("rgb", 0, layout.rgb);
        note("intensity", 2, layout.intensity);
        note("classification", 1, layout.classification);
        note("ScanIndex", 4, layout.scanIndex);
        note("visibility", 1, layout.visibility);
        note("normal_oct16", 2, layout.octahedralNormal);
        note("NormalX", 8, normals[0]);
        note("NormalY", 8, normals[1]);
        note("NormalZ", 8, normals[2]);
        note("return number", 1, layout.returnNumber);
        note("number of returns", 1, layout.returnCount);
        note("gps-time", 8, layout.gpsTime);
        note("point source id", 2, layout.pointSource);
        note("user data", 1, layout.userData);
        note("scan angle rank", 1, layout.scanAngleRank);
        note("scan angle", 2, layout.scanAngleSteps);
        layout.bytesPerPoint += storedSize(attribute, metadata.encoding, file);
    }
    if (normals[0] && normals[1] && normals[2])
    {
        layout.normalXyz = {*normals[0], *normals[1], *normals[2]};
    }
    return layout;
}
}  // namespace PoTree
