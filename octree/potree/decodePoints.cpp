#include "octree/potree/decodePoints.h"

#include "octree/ColumnSink.h"
#include "octree/PointBlock.h"
#include "octree/decodeOctahedralNormal.h"
#include "octree/potree/MortonDecoder.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

namespace PoTree
{
namespace
{
static_assert(std::endian::native == std::endian::little, "values are copied out as they lie in the file");

using Octree::PointBlock;
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

    /// The same without the values before the one with that index.
    Column from(std::size_t i) const noexcept { return {first + i * stride, stride}; }
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

std::int32_t plainCoordinate(const Column& integers, std::size_t i, std::size_t axis) noexcept
{
    return integers.value<std::int32_t>(i, axis * sizeof(std::int32_t));
}

void decodePlainPositions(const Column& integers, const PointConversion& conversion, PointBlock& out)
{
    const auto& [scale, shift, unitScale, wideColors] = conversion;
    for (std::size_t i = 0; i < out.pointCount; ++i)
    {
        out.x[i] = (plainCoordinate(integers, i, 0) * scale.x + shift.x) * unitScale;
        out.y[i] = (plainCoordinate(integers, i, 1) * scale.y + shift.y) * unitScale;
        out.z[i] = (plainCoordinate(integers, i, 2) * scale.z + shift.z) * unitScale;
    }
}

/// The 8 bits of a 16-bit channel; a narrow one beyond its declared range is cut off.
unsigned char toByte(std::uint32_t channel, bool wide) noexcept
{
    return static_cast<unsigned char>(wide ? channel >> 8U : std::min(channel, 255U));
}

void decodePlainColors(const Column& channels, bool wide, PointBlock& out)
{
    for (std::size_t i = 0; i < out.pointCount; ++i)
    {
        out.colors[i].set(
            toByte(channels.value<std::uint16_t>(i), wide),
            toByte(channels.value<std::uint16_t>(i, 2), wide),
            toByte(channels.value<std::uint16_t>(i, 4), wide),
            255
        );
    }
}

template <class T>
void copyValues(const Column& column, std::size_t count, T* out)
{
    if (column.stride == sizeof(T))
    {
        std::memcpy(out, column.first, count * sizeof(T));
        return;
    }
    for (std::size_t i = 0; i < count; ++i)
    {
        out[i] = column.value<T>(i);
    }
}

/// Fills the columns that the block is to have from the points that begin with `first`.
void fillBlock(
    const StoredPoints& points,
    std::size_t first,
    const PointLayout& layout,
    const PointConversion& conversion,
    PointBlock& block
)
{
    const auto column = [&](const std::optional<std::uint64_t>& offset, std::size_t valueSize)
    { return points.column(*offset, valueSize).from(first); };
    const bool coded = layout.encoding == Encoding::Brotli;
    const MortonDecoder& morton = MortonDecoder::best();
    const std::size_t count = block.pointCount;
    if (Octree::hasPosition(block.attributes))
    {
        const Column values = column(layout.position, 16);
        if (coded)
        {
            morton.positions(values.first, count, conversion, block.x.data(), block.y.data(), block.z.data());
        }
        else
        {
            decodePlainPositions(values, conversion, block);
        }
    }
    if (Octree::hasColor(block.attributes))
    {
        const Column values = column(layout.rgb, 8);
        if (coded)
        {
            morton.colors(values.first, count, conversion.wideColors, block.colors.data());
        }
        else
        {
            decodePlainColors(values, conversion.wideColors, block);
        }
    }
    if (Octree::hasIntensity(block.attributes))
    {
        copyValues(column(layout.intensity, 2), count, block.intensities.data());
    }
    if (Octree::hasClassification(block.attributes))
    {
        copyValues(column(layout.classification, 1), count, block.classifications.data());
    }
    if (Octree::hasScanIndex(block.attributes))
    {
        copyValues(column(layout.scanIndex, 4), count, block.scanIndices.data());
    }
    if (Octree::hasVisibility(block.attributes))
    {
        copyValues(column(layout.visibility, 1), count, block.visibilities.data());
    }
}

std::size_t countVisible(const Column& visibilities, std::size_t count) noexcept
{
    std::size_t visible = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        visible += visibilities.value<std::uint8_t>(i) == 0 ? 1 : 0;
    }
    return visible;
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

/// Degrees, of which files have whole ones or steps.
void decodeScanAngles(const StoredPoints& points, const PointLayout& layout, std::vector<float>& out)
{
    constexpr float kDegreesPerStep = 0.006F;
    if (layout.scanAngleSteps)
    {
        const Column steps = points.column(*layout.scanAngleSteps, sizeof(std::int16_t));
        for (std::size_t i = 0; i < out.size(); ++i)
        {
            out[i] = static_cast<float>(steps.value<std::int16_t>(i)) * kDegreesPerStep;
        }
        return;
    }
    const Column degrees = points.column(*layout.scanAngleRank, sizeof(std::int8_t));
    for (std::size_t i = 0; i < out.size(); ++i)
    {
        out[i] = degrees.value<std::int8_t>(i);
    }
}

/// Fills the arrays of what was recorded, which have their lengths already.
void decodeRecords(
    const StoredPoints& points, const PointLayout& layout, unsigned attributes, Octree::NodePointColumns& out
)
{
    const auto copy = [&](unsigned attribute, const std::optional<std::uint64_t>& offset, auto& array)
    {
        if ((attributes & attribute) != 0)
        {
            copyValues(points.column(*offset, sizeof array[0]), array.size(), array.data());
        }
    };
    copy(Octree::kReturnNumberAttribute, layout.returnNumber, out.returnNumbers);
    copy(Octree::kReturnCountAttribute, layout.returnCount, out.returnCounts);
    copy(Octree::kGpsTimeAttribute, layout.gpsTime, out.gpsTimes);
    copy(Octree::kPointSourceAttribute, layout.pointSource, out.pointSources);
    copy(Octree::kUserDataAttribute, layout.userData, out.userData);
    if ((attributes & Octree::kScanAngleAttribute) != 0)
    {
        decodeScanAngles(points, layout, out.scanAngles);
    }
}
}  // namespace

void decodePoints(
    const PointLayout& layout,
    const PointConversion& conversion,
    std::span<const std::byte> bytes,
    unsigned attributes,
    Octree::PointSink& sink
)
{
    const StoredPoints points(layout, bytes);
    PointBlock block;
    block.attributes = attributes & layout.attributeMask() & ~static_cast<unsigned>(Octree::kNormalAttribute);
    sink.begin(
        points.count(),
        Octree::hasVisibility(block.attributes)
            ? countVisible(points.column(*layout.visibility, 1), points.count())
            : points.count()
    );
    const unsigned filled = block.attributes;
    for (std::size_t first = 0; first < points.count(); first += PointBlock::kCapacity)
    {
        block.pointCount = std::min(PointBlock::kCapacity, points.count() - first);
        block.attributes = filled;
        fillBlock(points, first, layout, conversion, block);
        sink.take(block);
    }
}

void decodePoints(
    const PointLayout& layout,
    const PointConversion& conversion,
    std::span<const std::byte> bytes,
    unsigned attributes,
    Octree::NodePointColumns& out
)
{
    const unsigned filled = bytes.empty() ? 0U : attributes & (layout.attributeMask() | layout.recordMask());
    Octree::ColumnSink sink(out, filled);
    decodePoints(layout, conversion, bytes, filled, sink);
    decodeRecords(StoredPoints(layout, bytes), layout, filled, out);
    if (Octree::hasNormal(filled))
    {
        decodeNormals(StoredPoints(layout, bytes), layout, out.normals);
    }
}
}  // namespace PoTree
