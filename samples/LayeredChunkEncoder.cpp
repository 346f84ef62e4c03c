#include "samples/LayeredChunkEncoder.h"

#include "octree/las/LasSink.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Samples
{
namespace
{
Las::LazEncoding encodingOf(const CopcWriterOptions& options)
{
    if (!(options.scale > 0.0))
    {
        throw std::invalid_argument("Scale must be above 0");
    }
    Las::LazEncoding encoding;
    encoding.pointFormat = options.pointFormat;
    encoding.itemVersion = options.itemVersion;
    encoding.extraBytes = options.extraBytes;
    return encoding;
}

std::int32_t storedCoordinate(double value, double offset, double scale)
{
    const double whole = std::floor((value - offset) / scale + 0.5);
    if (!(whole >= std::numeric_limits<std::int32_t>::min() &&
          whole <= std::numeric_limits<std::int32_t>::max()))
    {
        throw std::invalid_argument("A coordinate does not fit 32 bits");
    }
    return static_cast<std::int32_t>(whole);
}

Las::LasPoint storedPoint(
    const SamplePoint& point, const CopcWriterOptions& options, const Math::Point<double, 3>& offset
)
{
    if (point.scanIndex > std::numeric_limits<std::uint16_t>::max())
    {
        throw std::invalid_argument("A scan index does not fit the 16 bits of a point source");
    }
    Las::LasPoint stored;
    stored.position = {
        storedCoordinate(point.x, offset.x, options.scale),
        storedCoordinate(point.y, offset.y, options.scale),
        storedCoordinate(point.z, offset.z, options.scale)};
    stored.intensity = point.intensity;
    stored.classification = point.classification;
    stored.pointSource = static_cast<std::uint16_t>(point.scanIndex);
    stored.time = 1000.0 * point.scanIndex;
    stored.color = {point.r, point.g, point.b, point.r};
    return stored;
}
}  // namespace

/// Keeps the bytes, which begin somewhere in a file.
class LayeredChunkEncoder::Bytes final : public Las::LasSink
{
public:
    explicit Bytes(std::uint64_t begin) : mBegin(begin) {}

    void write(std::string_view more) override { bytes += more; }

    void rewrite(std::uint64_t position, std::string_view others) override
    {
        bytes.replace(static_cast<std::size_t>(position - mBegin), others.size(), others);
    }

    std::string bytes;

private:
    std::uint64_t mBegin;
};

LayeredChunkEncoder::LayeredChunkEncoder(
    const CopcWriterOptions& options, const Math::Point<double, 3>& offset, std::uint64_t begin
)
    : mOptions(options),
      mOffset(offset),
      mBytes(std::make_unique<Bytes>(begin)),
      mEncoder(encodingOf(options), *mBytes, begin)
{
}

LayeredChunkEncoder::~LayeredChunkEncoder() = default;

std::uint32_t LayeredChunkEncoder::add(
    std::span<const SamplePoint> points, std::span<const std::uint32_t> indices
)
{
    const std::uint64_t begin = position();
    std::vector<std::byte> extra(mOptions.extraBytes);
    for (const std::uint32_t index : indices)
    {
        const SamplePoint& point = points[index];
        for (std::size_t i = 0; i < extra.size(); ++i)
        {
            extra[i] = static_cast<std::byte>((point.intensity + i) & 0xffU);
        }
        mEncoder.add(storedPoint(point, mOptions, mOffset), extra);
    }
    mEncoder.endChunk();
    return static_cast<std::uint32_t>(position() - begin);
}

std::uint64_t LayeredChunkEncoder::position() const
{
    return mEncoder.position();
}

std::string LayeredChunkEncoder::finish()
{
    mEncoder.finish();
    return std::move(mBytes->bytes);
}

std::string LayeredChunkEncoder::record() const
{
    return Las::LazEncoder::record(encodingOf(mOptions));
}

std::size_t LayeredChunkEncoder::recordLength() const
{
    return Las::LazEncoder::recordLength(encodingOf(mOptions));
}
}  // namespace Samples
