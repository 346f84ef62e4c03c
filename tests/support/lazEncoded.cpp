#include "tests/support/lazEncoded.h"

#include <algorithm>
#include <cstring>
#include <laszip/bytestreamout_array.hpp>
#include <laszip/laswritepoint.hpp>
#include <stdexcept>
#include <vector>

namespace
{
constexpr std::size_t kRecordHead = 54;

bool isLayered(const LazOptions& options)
{
    return options.pointFormat >= 6;
}

std::size_t headerSize(const LazOptions& options)
{
    return isLayered(options) ? 375 : 227;
}

std::vector<LASitem> itemsOf(const LazOptions& options)
{
    const unsigned format = options.pointFormat;
    const bool layered = isLayered(options);
    const unsigned short version = layered ? options.itemVersion : std::uint16_t{2};
    std::vector<LASitem> items;
    items.push_back(
        layered ? LASitem{LASitem::POINT14, 30, version} : LASitem{LASitem::POINT10, 20, version}
    );
    if (format == 1 || format == 3)
    {
        items.push_back({LASitem::GPSTIME11, 8, version});
    }
    if (format == 2 || format == 3)
    {
        items.push_back({LASitem::RGB12, 6, version});
    }
    if (format == 7)
    {
        items.push_back({LASitem::RGB14, 6, version});
    }
    if (format == 8)
    {
        items.push_back({LASitem::RGBNIR14, 8, version});
    }
    if (options.extraBytes > 0)
    {
        items.push_back(
            {layered ? LASitem::BYTE14 : LASitem::BYTE,
             static_cast<unsigned short>(options.extraBytes),
             version}
        );
    }
    return items;
}

template <class T>
void put(std::string& bytes, std::size_t position, T value)
{
    std::memcpy(bytes.data() + position, &value, sizeof value);
}

/// The memory layout that the encoder takes points in.
std::array<unsigned char, 128> pointBytes(const LazPoint& point, bool layered)
{
    std::array<unsigned char, 128> bytes{};
    const auto set = [&bytes](std::size_t position, const auto& value)
    { std::memcpy(bytes.data() + position, &value, sizeof value); };
    set(0, point.position);
    set(12, point.intensity);
    bytes[14] = 1U | 1U << 3U;  // return 1 of 1
    bytes[15] = layered && point.classification > 31 ? std::uint8_t{0} : point.classification;
    set(18, point.pointSource);
    bytes[22] = static_cast<unsigned char>(1U | static_cast<unsigned>(point.channel) << 2U);
    bytes[23] = point.classification;
    bytes[24] = 0x11;
    set(32, point.time);
    return bytes;
}

std::string compressed(
    std::span<const LazPoint> points, const LazOptions& options, std::vector<LASitem> items, std::size_t begin
)
{
    LASzip settings;
    settings.compressor =
        isLayered(options) ? LASZIP_COMPRESSOR_LAYERED_CHUNKED : LASZIP_COMPRESSOR_POINTWISE_CHUNKED;
    settings.chunk_size = options.chunkSize;
    settings.num_items = static_cast<unsigned short>(items.size());
    settings.items = new LASitem[items.size()];  // which it deletes
    std::ranges::copy(items, settings.items);

    ByteStreamOutArrayLE stream;
    const std::string before(begin, '\0');  // so that positions are those in the file
    stream.putBytes(reinterpret_cast<const U8*>(before.data()), static_cast<U32>(begin));
    LASwritePoint writer;
    bool good = writer.setup(settings.num_items, settings.items, &settings) && writer.init(&stream);
    std::vector<unsigned char> extra(std::max<std::size_t>(1, options.extraBytes));
    for (const LazPoint& point : points)
    {
        std::array<unsigned char, 128> bytes = pointBytes(point, isLayered(options));
        std::array<unsigned char, 8> time{};
        std::array<unsigned char, 8> color{};
        std::memcpy(time.data(), &point.time, sizeof point.time);
        std::memcpy(color.data(), point.color.data(), sizeof point.color);
        std::ranges::fill(extra, bytes[0]);
        std::vector<U8*> pointers;
        for (const LASitem& item : items)
        {
            const bool isPoint = item.type == LASitem::POINT10 || item.type == LASitem::POINT14;
            const bool isExtra = item.type == LASitem::BYTE || item.type == LASitem::BYTE14;
            pointers.push_back(
                isPoint                           ? bytes.data()
                : isExtra                         ? extra.data()
                : item.type == LASitem::GPSTIME11 ? time.data()
                                                  : color.data()
            );
        }
        good = good && writer.write(pointers.data());
    }
    if (!(good && writer.done()))
    {
        throw std::runtime_error("cannot compress the test's points");
    }
    return {
        reinterpret_cast<const char*>(stream.getData()) + begin,
        static_cast<std::size_t>(stream.getSize()) - begin};
}
}  // namespace

std::size_t laszipRecordPosition(const LazOptions& options)
{
    const std::size_t other = options.recordBefore > 0 ? kRecordHead + options.recordBefore : 0;
    return headerSize(options) + other + kRecordHead;
}

std::size_t pointsPosition(const LazOptions& options)
{
    return laszipRecordPosition(options) + 34 + 6 * itemsOf(options).size();
}

std::string lazEncoded(std::span<const LazPoint> points, const LazOptions& options)
{
    const std::vector<LASitem> items = itemsOf(options);
    std::size_t recordLength = 0;
    for (const LASitem& item : items)
    {
        recordLength += item.size;
    }
    const bool layered = isLayered(options);
    const auto pointCount = static_cast<std::uint32_t>(points.size());
    const std::size_t pointsBegin = pointsPosition(options);

    std::string bytes(pointsBegin, '\0');
    bytes.replace(0, 4, "LASF");
    put(bytes, 24, std::uint8_t{1});
    put(bytes, 25, layered ? std::uint8_t{4} : std::uint8_t{2});
    put(bytes, 94, static_cast<std::uint16_t>(headerSize(options)));
    put(bytes, 96, static_cast<std::uint32_t>(pointsBegin));
    put(bytes, 100, std::uint32_t{options.recordBefore > 0 ? 2U : 1U});
    put(bytes, 104, static_cast<std::uint8_t>(options.pointFormat | 0x80U));
    put(bytes, 105, static_cast<std::uint16_t>(recordLength));
    put(bytes, 131, options.scale);
    put(bytes, 155, options.offset);
    if (layered)
    {
        put(bytes, 247, std::uint64_t{pointCount});
    }
    else
    {
        put(bytes, 107, pointCount);
    }
    if (options.recordBefore > 0)
    {
        put(bytes, headerSize(options) + 20, static_cast<std::uint16_t>(options.recordBefore));
    }

    const std::size_t data = laszipRecordPosition(options);
    const std::size_t head = data - kRecordHead;
    bytes.replace(head + 2, 14, "laszip encoded");
    put(bytes, head + 18, std::uint16_t{22204});
    put(bytes, head + 20, static_cast<std::uint16_t>(pointsBegin - data));
    put(bytes, data, layered ? std::uint16_t{3} : std::uint16_t{2});
    put(bytes, data + 12, options.chunkSize);
    put(bytes, data + 16, std::int64_t{-1});
    put(bytes, data + 24, std::int64_t{-1});
    put(bytes, data + 32, static_cast<std::uint16_t>(items.size()));
    for (std::size_t i = 0; i < items.size(); ++i)
    {
        put(bytes, data + 34 + 6 * i, static_cast<std::uint16_t>(items[i].type));
        put(bytes, data + 36 + 6 * i, items[i].size);
        put(bytes, data + 38 + 6 * i, items[i].version);
    }
    return bytes + compressed(points, options, items, pointsBegin);
}
