#include "octree/rows/decodeRows.h"

#include "octree/ColumnSink.h"
#include "octree/PointBlock.h"
#include "octree/readFields.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Octree
{
namespace
{
static_assert(std::endian::native == std::endian::little, "values are copied out as they lie in the file");

/// Reads a number of a type that the machine has.
template <class T>
struct Native
{
    T operator()(const std::byte* at) const noexcept
    {
        T value;
        std::memcpy(&value, at, sizeof value);
        return value;
    }
};

/// Reads an integer of any number of bytes from 1 to 8.
struct PackedUnsigned
{
    std::size_t size;

    std::uint64_t operator()(const std::byte* at) const noexcept
    {
        std::uint64_t value = 0;
        std::memcpy(&value, at, size);
        return value;
    }
};

struct PackedSigned
{
    std::size_t size;

    std::int64_t operator()(const std::byte* at) const noexcept
    {
        const unsigned unused = 64U - 8U * static_cast<unsigned>(size);
        return static_cast<std::int64_t>(PackedUnsigned{size}(at) << unused) >> unused;
    }
};

/// Calls `use` with the reader of the dimension's numbers, so that loops are compiled once per type.
template <class Use>
void withReader(const Dimension& dimension, const Use& use)
{
    const bool isSigned = dimension.type == NumberType::Signed;
    if (dimension.type == NumberType::Float)
    {
        return dimension.size == sizeof(float) ? use(Native<float>{}) : use(Native<double>{});
    }
    switch (dimension.size)
    {
        case 1:
            return isSigned ? use(Native<std::int8_t>{}) : use(Native<std::uint8_t>{});
        case 2:
            return isSigned ? use(Native<std::int16_t>{}) : use(Native<std::uint16_t>{});
        case 4:
            return isSigned ? use(Native<std::int32_t>{}) : use(Native<std::uint32_t>{});
        case 8:
            return isSigned ? use(Native<std::int64_t>{}) : use(Native<std::uint64_t>{});
        default:
            return isSigned ? use(PackedSigned{dimension.size}) : use(PackedUnsigned{dimension.size});
    }
}

/// The nearest number that T has; 0 for what is not a number or, of floating-point ones, too large.
template <class T, class Value>
T nearest(Value number) noexcept
{
    if constexpr (std::is_floating_point_v<T>)
    {
        const auto value = static_cast<double>(number);
        return std::abs(value) <= std::numeric_limits<T>::max() ? static_cast<T>(value) : T{0};
    }
    else if constexpr (std::is_floating_point_v<Value>)
    {
        constexpr double kMax = std::numeric_limits<T>::max();
        const double rounded = static_cast<double>(number) + 0.5;
        return rounded >= kMax  ? std::numeric_limits<T>::max()
               : rounded >= 1.0 ? static_cast<T>(rounded)
                                : T{0};
    }
    else if (std::cmp_less(number, 0))
    {
        return T{0};
    }
    else
    {
        return std::cmp_greater(number, std::numeric_limits<T>::max()) ? std::numeric_limits<T>::max()
                                                                       : static_cast<T>(number);
    }
}

/// A tile seen as rows.
struct Rows
{
    std::span<const std::byte> bytes;
    std::size_t stride;

    std::size_t count() const noexcept { return bytes.size() / stride; }
};

/// Calls write(i, value) with the dimension's value of each row, converted to T.
template <class T, class Write>
void forEachValue(const Rows& rows, const Dimension& dimension, const Write& write)
{
    const std::size_t count = rows.count();
    const std::byte* const first = rows.bytes.data() + dimension.byteOffset;
    const bool isPlain = dimension.scale == 1.0 && dimension.offset == 0.0;
    const auto loop = [&](const auto& read)
    {
        for (std::size_t i = 0; i < count && isPlain; ++i)
        {
            write(i, nearest<T>(read(first + i * rows.stride)));
        }
        for (std::size_t i = 0; i < count && !isPlain; ++i)
        {
            const auto stored = static_cast<double>(read(first + i * rows.stride));
            write(i, nearest<T>(stored * dimension.scale + dimension.offset));
        }
    };
    withReader(dimension, loop);
}

template <class T>
void decodeColumn(const Rows& rows, const Dimension& dimension, T* out)
{
    forEachValue<T>(rows, dimension, [out](std::size_t i, T value) { out[i] = value; });
}

void decodeCoordinate(
    const Rows& rows, const Dimension& dimension, double origin, double unitScale, double* out
)
{
    const std::size_t count = rows.count();
    const std::byte* const first = rows.bytes.data() + dimension.byteOffset;
    const double shift = dimension.offset - origin;  // 0 as a rule, and then exact
    bool good = true;
    const auto loop = [&](const auto& read)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            const double relative =
                static_cast<double>(read(first + i * rows.stride)) * dimension.scale + shift;
            good &= std::abs(relative) <= kLargestCoordinate;
            out[i] = relative * unitScale;
        }
    };
    withReader(dimension, loop);
    if (!good)
    {
        throw std::runtime_error("bad " + dimension.name + " of a point, expected numbers within 1e30");
    }
}

void decodeColors(const Rows& rows, const RowLayout::Triple& channels, bool wide, Math::Color* out)
{
    const auto toByte = [wide](std::uint16_t value)
    { return static_cast<unsigned char>(wide ? value >> 8U : std::min<unsigned>(value, 255U)); };
    forEachValue<std::uint16_t>(
        rows, channels[0], [&](std::size_t i, std::uint16_t red) { out[i].set(toByte(red), 0, 0, 255); }
    );
    forEachValue<std::uint16_t>(
        rows,
        channels[1],
        [&](std::size_t i, std::uint16_t green) { out[i].set(out[i].r(), toByte(green), 0, 255); }
    );
    forEachValue<std::uint16_t>(
        rows,
        channels[2],
        [&](std::size_t i, std::uint16_t blue) { out[i].set(out[i].r(), out[i].g(), toByte(blue), 255); }
    );
}

/// Fills the columns that the block is to have from as many rows.
void fillBlock(const Rows& rows, const RowLayout& layout, const RowConversion& conversion, PointBlock& block)
{
    if (hasPosition(block.attributes))
    {
        const auto& [origin, unitScale, wideColors] = conversion;
        decodeCoordinate(rows, layout.position[0], origin.x, unitScale, block.x.data());
        decodeCoordinate(rows, layout.position[1], origin.y, unitScale, block.y.data());
        decodeCoordinate(rows, layout.position[2], origin.z, unitScale, block.z.data());
    }
    if (hasColor(block.attributes))
    {
        decodeColors(rows, *layout.rgb, conversion.wideColors, block.colors.data());
    }
    if (hasIntensity(block.attributes))
    {
        decodeColumn(rows, *layout.intensity, block.intensities.data());
    }
    if (hasClassification(block.attributes))
    {
        decodeColumn(rows, *layout.classification, block.classifications.data());
    }
    if (hasScanIndex(block.attributes))
    {
        decodeColumn(rows, *layout.scanIndex, block.scanIndices.data());
    }
}

/// Fills the arrays of what was recorded, which have their lengths already.
void decodeRecords(const Rows& rows, const RowLayout& layout, unsigned attributes, NodePointColumns& out)
{
    const auto decode = [&](unsigned attribute, const std::optional<Dimension>& dimension, auto& array)
    {
        if ((attributes & attribute) != 0)
        {
            decodeColumn(rows, *dimension, array.data());
        }
    };
    decode(kReturnNumberAttribute, layout.returnNumber, out.returnNumbers);
    decode(kReturnCountAttribute, layout.returnCount, out.returnCounts);
    decode(kGpsTimeAttribute, layout.gpsTime, out.gpsTimes);
    decode(kUserDataAttribute, layout.userData, out.userData);
    decode(kScanAngleAttribute, layout.scanAngle, out.scanAngles);
}
}  // namespace

void decodeRows(
    const RowLayout& layout,
    const RowConversion& conversion,
    std::span<const std::byte> rows,
    unsigned attributes,
    PointSink& sink
)
{
    const std::size_t stride = layout.bytesPerPoint;
    const std::size_t count = rows.size() / stride;
    const unsigned filled = attributes & layout.attributeMask() & ~static_cast<unsigned>(kNormalAttribute);
    sink.begin(count, count);

    PointBlock block;
    for (std::size_t first = 0; first < count; first += PointBlock::kCapacity)
    {
        block.pointCount = std::min(PointBlock::kCapacity, count - first);
        block.attributes = filled;
        const auto bytes = rows.subspan(first * stride, block.pointCount * stride);
        fillBlock(Rows{bytes, stride}, layout, conversion, block);
        sink.take(block);
    }
}

void decodeRows(
    const RowLayout& layout,
    const RowConversion& conversion,
    std::span<const std::byte> rows,
    unsigned attributes,
    NodePointColumns& out
)
{
    const unsigned filled = attributes & (layout.attributeMask() | layout.recordMask());
    ColumnSink sink(out, filled);
    try
    {
        decodeRows(layout, conversion, rows, filled, sink);
    }
    catch (...)
    {
        out.clear();
        throw;
    }
    decodeRecords(Rows{rows, layout.bytesPerPoint}, layout, filled, out);
    if (hasNormal(filled))
    {
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            forEachValue<float>(
                Rows{rows, layout.bytesPerPoint},
                (*layout.normal)[axis],
                [&](std::size_t i, float value) { out.normals[i][axis] = value; }
            );
        }
    }
}

bool hasWideColors(const RowLayout& layout, std::span<const std::byte> bytes)
{
    bool wide = false;
    if (layout.rgb)
    {
        for (const Dimension& channel : *layout.rgb)
        {
            forEachValue<std::uint16_t>(
                Rows{bytes, layout.bytesPerPoint},
                channel,
                [&wide](std::size_t, std::uint16_t value) { wide |= value > 255U; }
            );
        }
    }
    return wide;
}
}  // namespace Octree
