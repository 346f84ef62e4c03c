#include "samples/LayeredChunkEncoder.h"

#include "samples/littleEndian.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <laszip/bytestreamout_array.hpp>
#include <laszip/laswritepoint.hpp>
#include <limits>
#include <stdexcept>

namespace Samples
{
namespace
{
constexpr std::size_t kMaxExtraBytes = 1024;

std::vector<LASitem> itemsOf(const CopcWriterOptions& options)
{
    if (options.pointFormat < 6 || options.pointFormat > 8)
    {
        throw std::invalid_argument("Point format must be 6, 7 or 8");
    }
    if (options.itemVersion != 3 && options.itemVersion != 4)
    {
        throw std::invalid_argument("Version of items must be 3 or 4");
    }
    if (options.extraBytes > kMaxExtraBytes)
    {
        throw std::invalid_argument("There must be at most 1024 extra bytes");
    }
    if (!(options.scale > 0.0))
    {
        throw std::invalid_argument("Scale must be above 0");
    }
    std::vector<LASitem> items{{LASitem::POINT14, 30, options.itemVersion}};
    if (options.pointFormat == 7)
    {
        items.push_back({LASitem::RGB14, 6, options.itemVersion});
    }
    if (options.pointFormat == 8)
    {
        items.push_back({LASitem::RGBNIR14, 8, options.itemVersion});
    }
    if (options.extraBytes > 0)
    {
        items.push_back(
            {LASitem::BYTE14, static_cast<unsigned short>(options.extraBytes), options.itemVersion}
        );
    }
    return items;
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

/// A point as the encoder takes it.
class PointBuffer
{
public:
    explicit PointBuffer(const CopcWriterOptions& options)
        : mItems{mPoint.data(), mColors.data()}, mExtra(options.extraBytes)
    {
        mItems[options.pointFormat == 6 ? 1 : 2] = mExtra.data();
    }

    PointBuffer(const PointBuffer&) = delete;
    PointBuffer& operator=(const PointBuffer&) = delete;

    void set(const SamplePoint& point, const CopcWriterOptions& options, const Math::Point<double, 3>& offset)
    {
        if (point.scanIndex > std::numeric_limits<std::uint16_t>::max())
        {
            throw std::invalid_argument("A scan index does not fit the 16 bits of a point source");
        }
        put(0, storedCoordinate(point.x, offset.x, options.scale));
        put(4, storedCoordinate(point.y, offset.y, options.scale));
        put(8, storedCoordinate(point.z, offset.z, options.scale));
        put(12, point.intensity);
        put(14, std::uint8_t{1U | 1U << 3U});  // return 1 of 1, as older formats store it
        put(15, static_cast<std::uint8_t>(point.classification < 32 ? point.classification : 0));
        put(18, static_cast<std::uint16_t>(point.scanIndex));
        put(22, std::uint8_t{1});  // not one of an older format
        put(23, point.classification);
        put(24, std::uint8_t{0x11});  // return 1 of 1
        put(32, 1000.0 * point.scanIndex);
        const std::array<std::uint16_t, 4> colors{point.r, point.g, point.b, point.r};
        std::memcpy(mColors.data(), colors.data(), sizeof colors);
        for (std::size_t i = 0; i < mExtra.size(); ++i)
        {
            mExtra[i] = static_cast<U8>(point.intensity + i);
        }
    }

    const U8* const* items() const noexcept { return mItems.data(); }

private:
    template <class T>
    void put(std::size_t position, T value)
    {
        std::memcpy(mPoint.data() + position, &value, sizeof value);
    }

    alignas(8) std::array<U8, 128> mPoint{};
    alignas(8) std::array<U8, 8> mColors{};
    std::array<U8*, 3> mItems;
    std::vector<U8> mExtra;
};

void require(bool good)
{
    if (!good)
    {
        throw std::runtime_error("The LASzip library cannot compress these points");
    }
}
}  // namespace

struct LayeredChunkEncoder::Library
{
    explicit Library(const CopcWriterOptions& options) : point(options)
    {
        const std::vector<LASitem> items = itemsOf(options);
        settings.compressor = LASZIP_COMPRESSOR_LAYERED_CHUNKED;
        settings.chunk_size = std::numeric_limits<U32>::max();  // which says that they vary
        settings.num_items = static_cast<unsigned short>(items.size());
        settings.items = new LASitem[items.size()];  // which it deletes
        std::ranges::copy(items, settings.items);
    }

    LASzip settings;
    ByteStreamOutArrayLE stream;
    LASwritePoint writer;
    PointBuffer point;
};

LayeredChunkEncoder::LayeredChunkEncoder(
    const CopcWriterOptions& options, const Math::Point<double, 3>& offset, std::uint64_t begin
)
    : mOptions(options), mOffset(offset), mBegin(begin), mLibrary(std::make_unique<Library>(options))
{
    Library& library = *mLibrary;
    // Positions in the table are those in the file.
    const std::vector<U8> before(static_cast<std::size_t>(begin));
    require(
        (before.empty() || library.stream.putBytes(before.data(), static_cast<U32>(before.size()))) &&
        library.writer.setup(library.settings.num_items, library.settings.items, &library.settings) &&
        library.writer.init(&library.stream)
    );
}

LayeredChunkEncoder::~LayeredChunkEncoder() = default;

std::uint32_t LayeredChunkEncoder::add(
    std::span<const SamplePoint> points, std::span<const std::uint32_t> indices
)
{
    Library& library = *mLibrary;
    const std::uint64_t begin = position();
    for (const std::uint32_t index : indices)
    {
        library.point.set(points[index], mOptions, mOffset);
        require(library.writer.write(library.point.items()) != 0);
    }
    require(library.writer.chunk() != 0);
    return static_cast<std::uint32_t>(position() - begin);
}

std::uint64_t LayeredChunkEncoder::position() const
{
    return static_cast<std::uint64_t>(mLibrary->stream.tell());
}

std::string LayeredChunkEncoder::finish()
{
    require(mLibrary->writer.done() != 0);
    const auto begin = static_cast<std::size_t>(mBegin);
    return {
        reinterpret_cast<const char*>(mLibrary->stream.getData()) + begin,
        static_cast<std::size_t>(mLibrary->stream.getSize()) - begin};
}

std::string LayeredChunkEncoder::record() const
{
    const LASzip& settings = mLibrary->settings;
    constexpr std::int64_t kNone = -1;
    std::string bytes;
    appendLittleEndian(bytes, std::uint16_t{settings.compressor});
    appendLittleEndian(bytes, std::uint16_t{LASZIP_CODER_ARITHMETIC});
    appendLittleEndian(bytes, std::uint8_t{LASZIP_VERSION_MAJOR});
    appendLittleEndian(bytes, std::uint8_t{LASZIP_VERSION_MINOR});
    appendLittleEndian(bytes, std::uint16_t{LASZIP_VERSION_REVISION});
    appendLittleEndian(bytes, std::uint32_t{0});  // options
    appendLittleEndian(bytes, std::uint32_t{settings.chunk_size});
    appendLittleEndian(bytes, kNone);  // special records
    appendLittleEndian(bytes, kNone);
    appendLittleEndian(bytes, std::uint16_t{settings.num_items});
    for (std::size_t i = 0; i < settings.num_items; ++i)
    {
        appendLittleEndian(bytes, static_cast<std::uint16_t>(settings.items[i].type));
        appendLittleEndian(bytes, std::uint16_t{settings.items[i].size});
        appendLittleEndian(bytes, std::uint16_t{settings.items[i].version});
    }
    return bytes;
}

std::size_t LayeredChunkEncoder::recordLength() const noexcept
{
    std::size_t length = 0;
    for (std::size_t i = 0; i < mLibrary->settings.num_items; ++i)
    {
        length += mLibrary->settings.items[i].size;
    }
    return length;
}
}  // namespace Samples
