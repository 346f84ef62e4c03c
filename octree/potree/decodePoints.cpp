#include "octree/potree/decodePoints.h"

#include "octree/decodeOctahedralNormal.h"
#include "octree/potree/MortonTriple.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

namespace PoTree
{
namespace
{
static_assert(std::endian::native == std::endian::little, "values are copied out as they lie in the file");

using Position = Math::Point<double, 3>;
using Normal = Math::Point<float, 3>;

/// The values of one attribute: where the first lies, and how far apart they are.
struct Column
{
    const std::byte* first;
    std::size_t stride;

    template <class T>
    T value(std::size_t i, std::size_t byteOffset = 0) const noexcept
    {
        T result;
        std::memcpy(&result, first + i * stride + byteOffset, sizeof result);
        return result;
    }
};

/// The node's bytes seen as columns, in either encoding.
class StoredPoints
{
public:
    StoredPoints(const PointLayout& layout, std::span<const std::byte> bytes)
        : mLayout(layout),
          mBytes(bytes),
          mCount(bytes.size() / static_cast<std::size_t>(layout.bytesPerPoint))
    {
    }

    std::size_t count() const noexcept { return mCount; }

    Column column(std::uint64_t offset, std::size_t valueSize) const noexcept
    {
        const auto bytesBefore = static_cast<std::size_t>(offset);
        return mLayout.encoding == Encoding::Brotli
                   ? Column{mBytes.data() + bytesBefore * mCount, valueSize}
                   : Column{mBytes.data() + bytesBefore, static_cast<std::size_t>(mLayout.bytesPerPoint)};
    }

private:
    const PointLayout& mLayout;
    std::span<const std::byte> mBytes;
    std::size_t mCount;
};

Position toPosition(double x, double y, double z, const PointConversion& conversion) noexcept
{
    return {
        (x * conversion.scale.x + conversion.shift.x) * conversion.unitScale,
        (y * conversion.scale.y + conversion.shift.y) * conversion.unitScale,
        (z * conversion.scale.z + conversion.shift.z) * conversion.unitScale};
}

void decodePositionCodes(const Column& codes, const PointConversion& conversion, std::vector<Position>& out)
{
    std::uint64_t lastUpper = 0;
    MortonTriple upper(0);
    for (std::size_t i = 0; i < out.size(); ++i)
    {
        const auto upperCode = codes.value<std::uint64_t>(i);
        if (upperCode != lastUpper)  // seldom: points are sorted by it
        {
            lastUpper = upperCode;
            upper = MortonTriple(upperCode);
        }
        const MortonTriple lower(codes.value<std::uint64_t>(i, sizeof(std::uint64_t)));
        out[i] = toPosition(
            upper.first() << 16U | lower.first(),
            upper.second() << 16U | lower.second(),
            upper.third() << 16U | lower.third(),
            conversion
        );
    }
}

void decodePlainPositions(
    const Column& integers, const PointConversion& conversion, std::vector<Position>& out
)
{
    for (std::size_t i = 0; i < out.size(); ++i)
    {
        out[i] = toPosition(
            integers.value<std::int32_t>(i),
            integers.value<std::int32_t>(i, 4),
            integers.value<std::int32_t>(i, 8),
            conversion
        );
    }
}

/// The 8 bits of a 16-bit channel; a narrow one beyond its declared range is cut off.
unsigned char toByte(std::uint32_t channel, bool wide) noexcept
{
    return static_cast<unsigned char>(wide ? channel >> 8U : std::min(channel, 255U));
}

void decodeColorCodes(const Column& codes, bool wide, std::vector<Math::Color>& out)
{
    for (std::size_t i = 0; i < out.size(); ++i)
    {
        const MortonTriple rgb(codes.value<std::uint64_t>(i));
        out[i].set(toByte(rgb.first(), wide), toByte(rgb.second(), wide), toByte(rgb.third(), wide), 255);
    }
}

void decodePlainColors(const Column& channels, bool wide, std::vector<Math::Color>& out)
{
    for (std::size_t i = 0; i < out.size(); ++i)
    {
        out[i].set(
            toByte(channels.value<std::uint16_t>(i), wide),
            toByte(channels.value<std::uint16_t>(i, 2), wide),
            toByte(channels.value<std::uint16_t>(i, 4), wide),
            255
        );
    }
}

template <class T>
void copyValues(const Column& column, std::vector<T>& out)
{
    if (column.stride == sizeof(T))
    {
        std::memcpy(out.data(), column.first, out.size() * sizeof(T));
        return;
    }
    for (std::size_t i = 0; i < out.size(); ++i)
    {
        out[i] = column.value<T>(i);
    }
}

void decodeNormals(const StoredPoints& points, const PointLayout& layout, std::vector<Normal>& out)
{
    if (layout.octahedralNormal)
    {
        const Column codes = points.column(*layout.octahedralNormal, sizeof(std::uint16_t));
        for (std::size_t i = 0; i < out.size(); ++i)
        {
            out[i] = Octree::decodeOctahedralNormal(codes.value<std::uint16_t>(i));
        }
        return;
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const Column values = points.column((*layout.normalXyz)[axis], sizeof(double));
        for (std::size_t i = 0; i < out.size(); ++i)
        {
            out[i][axis] = static_cast<float>(values.value<double>(i));
        }
    }
}
}  // namespace

void decodePoints(
    const PointLayout& layout,
    const PointConversion& conversion,
    std::span<const std::byte> bytes,
    unsigned attributes,
    Octree::NodePointColumns& out
)
{
    const StoredPoints points(layout, bytes);
    const unsigned filled = bytes.empty() ? 0U : attributes & layout.attributeMask();
    const auto resize = [&](unsigned attribute, auto& array)
    { array.resize((filled & attribute) != 0 ? points.count() : 0); };

    out.pointCount = points.count();
    resize(Octree::kPositionAttribute, out.positions);
    resize(Octree::kColorAttribute, out.colors);
    resize(Octree::kIntensityAttribute, out.intensities);
    resize(Octree::kClassificationAttribute, out.classifications);
    resize(Octree::kScanIndexAttribute, out.scanIndices);
    resize(Octree::kVisibilityAttribute, out.visibilities);
    resize(Octree::kNormalAttribute, out.normals);

    const bool coded = layout.encoding == Encoding::Brotli;
    if (Octree::hasPosition(filled))
    {
        const Column column = points.column(*layout.position, 16);
        (coded ? decodePositionCodes : decodePlainPositions)(column, conversion, out.positions);
    }
    if (Octree::hasColor(filled))
    {
        const Column column = points.column(*layout.rgb, 8);
        (coded ? decodeColorCodes : decodePlainColors)(column, conversion.wideColors, out.colors);
    }
    if (Octree::hasIntensity(filled))
    {
        copyValues(points.column(*layout.intensity, 2), out.intensities);
    }
    if (Octree::hasClassification(filled))
    {
        copyValues(points.column(*layout.classification, 1), out.classifications);
    }
    if (Octree::hasScanIndex(filled))
    {
        copyValues(points.column(*layout.scanIndex, 4), out.scanIndices);
    }
    if (Octree::hasVisibility(filled))
    {
        copyValues(points.column(*layout.visibility, 1), out.visibilities);
    }
    if (Octree::hasNormal(filled))
    {
        decodeNormals(points, layout, out.normals);
    }
}
}  // namespace PoTree
