#include "samples/EptTileEncoder.h"

#include "samples/littleEndian.h"

#include <zstd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace Samples
{
namespace
{
using ValueOf = double (*)(const SamplePoint&);

struct KnownDimension
{
    std::string_view name;
    ValueOf value;
};

constexpr std::array<KnownDimension, 15> kDimensions{{
    {"X", [](const SamplePoint& point) { return point.x; }},
    {"Y", [](const SamplePoint& point) { return point.y; }},
    {"Z", [](const SamplePoint& point) { return point.z; }},
    {"Red", [](const SamplePoint& point) { return double(point.r); }},
    {"Green", [](const SamplePoint& point) { return double(point.g); }},
    {"Blue", [](const SamplePoint& point) { return double(point.b); }},
    {"Intensity", [](const SamplePoint& point) { return double(point.intensity); }},
    {"Classification", [](const SamplePoint& point) { return double(point.classification); }},
    {"PointSourceId", [](const SamplePoint& point) { return double(point.scanIndex); }},
    {"OriginId", [](const SamplePoint& point) { return double(point.scanIndex); }},
    {"NormalX", [](const SamplePoint& point) { return double(point.nx); }},
    {"NormalY", [](const SamplePoint& point) { return double(point.ny); }},
    {"NormalZ", [](const SamplePoint& point) { return double(point.nz); }},
    {"GpsTime", [](const SamplePoint& point) { return point.scanIndex * 1000.0; }},
    {"ReturnNumber", [](const SamplePoint&) { return 1.0; }},
}};

ValueOf valueOf(const EptDimension& dimension)
{
    const auto known = std::ranges::find(kDimensions, dimension.name, &KnownDimension::name);
    if (known == kDimensions.end())
    {
        throw std::invalid_argument("Dimension " + dimension.name + " is unknown");
    }
    return known->value;
}

/// Appends the stored form of a value.
/// @return the value that readers make of it
double append(std::string& bytes, const EptDimension& dimension, double value)
{
    const double scale = dimension.scale.value_or(1.0);
    const double offset = dimension.offset.value_or(0.0);
    const double stored = (value - offset) / scale;
    if (dimension.type == EptType::Float)
    {
        if (dimension.size == 4)
        {
            const auto rounded = static_cast<float>(stored);
            appendLittleEndian(bytes, rounded);
            return rounded * scale + offset;
        }
        appendLittleEndian(bytes, stored);
        return stored * scale + offset;
    }
    const double whole = std::floor(stored + 0.5);
    const bool isSigned = dimension.type == EptType::Signed;
    const double limit = std::ldexp(1.0, static_cast<int>(8 * dimension.size) - (isSigned ? 1 : 0));
    if (!(whole >= (isSigned ? -limit : 0.0) && whole < limit))
    {
        throw std::invalid_argument("A value does not fit dimension " + dimension.name);
    }
    const std::uint64_t bits = isSigned ? static_cast<std::uint64_t>(static_cast<std::int64_t>(whole))
                                        : static_cast<std::uint64_t>(whole);
    for (unsigned i = 0; i < dimension.size; ++i)
    {
        bytes.push_back(static_cast<char>(bits >> (8 * i) & 0xffU));
    }
    return whole * scale + offset;
}
}  // namespace

EptRange::EptRange() noexcept
    : min(std::numeric_limits<double>::infinity()), max(-std::numeric_limits<double>::infinity())
{
}

void EptRange::include(double value) noexcept
{
    min = std::min(min, value);
    max = std::max(max, value);
}

void EptRange::include(const EptRange& other) noexcept
{
    min = std::min(min, other.min);
    max = std::max(max, other.max);
}

EptTileEncoder::EptTileEncoder(const EptWriterOptions& options) : mOptions(options)
{
    for (const EptDimension& dimension : options.schema)
    {
        const bool isFloat = dimension.type == EptType::Float;
        if (!std::has_single_bit(dimension.size) || dimension.size > 8 || (isFloat && dimension.size < 4))
        {
            throw std::invalid_argument("Dimension " + dimension.name + " has an impossible size");
        }
        valueOf(dimension);
    }
}

EncodedTile EptTileEncoder::encode(
    std::span<const SamplePoint> points, std::span<const std::uint32_t> indices
) const
{
    std::vector<ValueOf> values;
    for (const EptDimension& dimension : mOptions.schema)
    {
        values.push_back(valueOf(dimension));
    }
    EncodedTile tile;
    tile.ranges.resize(mOptions.schema.size());
    for (const std::uint32_t index : indices)
    {
        for (std::size_t i = 0; i < values.size(); ++i)
        {
            tile.ranges[i].include(append(tile.bytes, mOptions.schema[i], values[i](points[index])));
        }
    }
    if (mOptions.dataType == EptDataType::Zstandard)
    {
        tile.bytes = compressed(tile.bytes);
    }
    return tile;
}

std::string EptTileEncoder::compressed(const std::string& rows) const
{
    const std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> context(ZSTD_createCCtx(), &ZSTD_freeCCtx);
    if (!context)
    {
        throw std::bad_alloc();
    }
    ZSTD_CCtx_setParameter(context.get(), ZSTD_c_contentSizeFlag, mOptions.hasContentSize ? 1 : 0);
    std::string result(ZSTD_compressBound(rows.size()), '\0');
    const std::size_t size =
        ZSTD_compress2(context.get(), result.data(), result.size(), rows.data(), rows.size());
    if (ZSTD_isError(size) != 0)
    {
        throw std::runtime_error(std::string("Zstandard compression failed: ") + ZSTD_getErrorName(size));
    }
    result.resize(size);
    return result;
}
}  // namespace Samples
