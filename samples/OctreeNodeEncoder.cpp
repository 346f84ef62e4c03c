#include "samples/OctreeNodeEncoder.h"

#include "samples/littleEndian.h"
#include "samples/pointCodes.h"

#include <brotli/encode.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <tuple>

namespace Samples
{
namespace
{
constexpr double kGpsTimePerScan = 1000.0;
constexpr std::uint8_t kReturnNumber = 1;
}  // namespace

AttributeLayout layoutOf(Attribute attribute) noexcept
{
    switch (attribute)
    {
        case Attribute::Position:
            return {"position", "int32", 3, 4};
        case Attribute::Rgb:
            return {"rgb", "uint16", 3, 2};
        case Attribute::Intensity:
            return {"intensity", "uint16", 1, 2};
        case Attribute::Classification:
            return {"classification", "uint8", 1, 1};
        case Attribute::ScanIndex:
            return {"ScanIndex", "uint32", 1, 4};
        case Attribute::Visibility:
            return {"visibility", "uint8", 1, 1};
        case Attribute::NormalOct16:
            return {"normal_oct16", "uint16", 1, 2};
        case Attribute::NormalX:
            return {"NormalX", "double", 1, 8};
        case Attribute::NormalY:
            return {"NormalY", "double", 1, 8};
        case Attribute::NormalZ:
            return {"NormalZ", "double", 1, 8};
        case Attribute::ReturnNumber:
            return {"return number", "uint8", 1, 1};
        case Attribute::GpsTime:
            break;
    }
    return {"gps-time", "double", 1, 8};
}

AttributeRange::AttributeRange() noexcept
{
    min.fill(std::numeric_limits<double>::infinity());
    max.fill(-std::numeric_limits<double>::infinity());
}

void AttributeRange::include(const std::array<double, 3>& values) noexcept
{
    for (std::size_t i = 0; i < 3; ++i)
    {
        min[i] = std::min(min[i], values[i]);
        max[i] = std::max(max[i], values[i]);
    }
}

void AttributeRange::include(const AttributeRange& other) noexcept
{
    for (std::size_t i = 0; i < 3; ++i)
    {
        min[i] = std::min(min[i], other.min[i]);
        max[i] = std::max(max[i], other.max[i]);
    }
}

OctreeNodeEncoder::OctreeNodeEncoder(const OctreeWriterOptions& options)
    : mOptions(options), mOffset(options.offset.value())
{
}

EncodedNode OctreeNodeEncoder::encode(
    std::span<const SamplePoint> points, std::span<const std::uint32_t> indices
) const
{
    std::vector<StoredPoint> order;
    order.reserve(indices.size());
    for (const std::uint32_t index : indices)
    {
        order.push_back(stored(points[index], index));
    }
    const auto key = [](const StoredPoint& point)
    { return std::tuple(point.code.upper, point.code.lower, point.index); };
    std::ranges::sort(order, {}, key);

    EncodedNode node;
    for (const Attribute attribute : mOptions.attributes)
    {
        AttributeRange range;
        for (const StoredPoint& place : order)
        {
            range.include(values(attribute, points[place.index], place));
        }
        node.ranges.push_back(range);
    }
    for (const std::uint32_t index : indices)
    {
        ++node.classifications[points[index].classification];
    }

    if (mOptions.encoding == OctreeEncoding::Brotli)
    {
        std::string columns;
        for (const Attribute attribute : mOptions.attributes)
        {
            for (const StoredPoint& place : order)
            {
                append(columns, attribute, points[place.index], place);
            }
        }
        node.bytes = compressed(columns);
    }
    else
    {
        for (const StoredPoint& place : order)
        {
            for (const Attribute attribute : mOptions.attributes)
            {
                append(node.bytes, attribute, points[place.index], place);
            }
        }
    }
    return node;
}

OctreeNodeEncoder::StoredPoint OctreeNodeEncoder::stored(const SamplePoint& point, std::uint32_t index) const
{
    const std::array<std::int32_t, 3> grid{
        gridCoordinate(point.x, 0),
        gridCoordinate(point.y, 1),
        gridCoordinate(point.z, 2),
    };
    const PositionCode code = positionCode(
        static_cast<std::uint32_t>(grid[0]),
        static_cast<std::uint32_t>(grid[1]),
        static_cast<std::uint32_t>(grid[2])
    );
    return {code, grid, index};
}

std::int32_t OctreeNodeEncoder::gridCoordinate(double value, std::size_t axis) const
{
    const double steps = std::floor((value - mOffset[axis]) / mOptions.scale[axis] + 0.5);
    const double least = mOptions.encoding == OctreeEncoding::Brotli ? 0.0 : -0x1p31;
    if (!(steps >= least && steps < 0x1p31))
    {
        throw std::invalid_argument("Position does not fit the octree's integers");
    }
    return static_cast<std::int32_t>(steps);
}

void OctreeNodeEncoder::append(
    std::string& bytes, Attribute attribute, const SamplePoint& point, const StoredPoint& place
) const
{
    const bool coded = mOptions.encoding == OctreeEncoding::Brotli;
    switch (attribute)
    {
        case Attribute::Position:
            if (coded)
            {
                appendLittleEndian(bytes, place.code.upper);
                appendLittleEndian(bytes, place.code.lower);
                return;
            }
            for (const std::int32_t coordinate : place.grid)
            {
                appendLittleEndian(bytes, coordinate);
            }
            return;
        case Attribute::Rgb:
            if (coded)
            {
                appendLittleEndian(bytes, colorCode(point.r, point.g, point.b));
                return;
            }
            appendLittleEndian(bytes, point.r);
            appendLittleEndian(bytes, point.g);
            appendLittleEndian(bytes, point.b);
            return;
        case Attribute::Intensity:
            appendLittleEndian(bytes, point.intensity);
            return;
        case Attribute::Classification:
            appendLittleEndian(bytes, point.classification);
            return;
        case Attribute::ScanIndex:
            appendLittleEndian(bytes, point.scanIndex);
            return;
        case Attribute::Visibility:
            appendLittleEndian(bytes, point.visibility);
            return;
        case Attribute::NormalOct16:
            appendLittleEndian(bytes, octahedralNormal(point.nx, point.ny, point.nz));
            return;
        case Attribute::NormalX:
            appendLittleEndian(bytes, static_cast<double>(point.nx));
            return;
        case Attribute::NormalY:
            appendLittleEndian(bytes, static_cast<double>(point.ny));
            return;
        case Attribute::NormalZ:
            appendLittleEndian(bytes, static_cast<double>(point.nz));
            return;
        case Attribute::ReturnNumber:
            appendLittleEndian(bytes, kReturnNumber);
            return;
        case Attribute::GpsTime:
            appendLittleEndian(bytes, point.scanIndex * kGpsTimePerScan);
            return;
    }
}

std::array<double, 3> OctreeNodeEncoder::values(
    Attribute attribute, const SamplePoint& point, const StoredPoint& place
) const
{
    switch (attribute)
    {
        case Attribute::Position:
            return {
                place.grid[0] * mOptions.scale.x + mOffset.x,
                place.grid[1] * mOptions.scale.y + mOffset.y,
                place.grid[2] * mOptions.scale.z + mOffset.z,
            };
        case Attribute::Rgb:
            return {double(point.r), double(point.g), double(point.b)};
        case Attribute::Intensity:
            return {double(point.intensity)};
        case Attribute::Classification:
            return {double(point.classification)};
        case Attribute::ScanIndex:
            return {double(point.scanIndex)};
        case Attribute::Visibility:
            return {double(point.visibility)};
        case Attribute::NormalOct16:
            return {double(octahedralNormal(point.nx, point.ny, point.nz))};
        case Attribute::NormalX:
            return {double(point.nx)};
        case Attribute::NormalY:
            return {double(point.ny)};
        case Attribute::NormalZ:
            return {double(point.nz)};
        case Attribute::ReturnNumber:
            return {double(kReturnNumber)};
        case Attribute::GpsTime:
            break;
    }
    return {point.scanIndex * kGpsTimePerScan};
}

std::string OctreeNodeEncoder::compressed(const std::string& bytes) const
{
    if (bytes.empty())
    {
        return {};
    }
    std::size_t size = BrotliEncoderMaxCompressedSize(bytes.size());
    std::string result(size, '\0');
    const int ok = BrotliEncoderCompress(
        mOptions.brotliQuality,
        BROTLI_DEFAULT_WINDOW,
        BROTLI_MODE_GENERIC,
        bytes.size(),
        reinterpret_cast<const std::uint8_t*>(bytes.data()),
        &size,
        reinterpret_cast<std::uint8_t*>(result.data())
    );
    if (ok == BROTLI_FALSE)
    {
        throw std::runtime_error("Brotli compression failed");
    }
    result.resize(size);
    return result;
}
}  // namespace Samples
