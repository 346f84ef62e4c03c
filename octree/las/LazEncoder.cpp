#include "octree/las/LazEncoder.h"

#include "octree/las/LasSink.h"
#include "octree/las/appendBytes.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <laszip/bytestreamout.hpp>
#include <laszip/laswritepoint.hpp>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace Las
{
namespace
{
constexpr std::size_t kMaxExtraBytes = 1024;
constexpr std::size_t kBlock = std::size_t{1} << 16U;  // bytes that go on together

std::vector<LASitem> itemsOf(const LazEncoding& encoding)
{
    if (encoding.pointFormat < 6 || encoding.pointFormat > 8)
    {
        throw std::invalid_argument("Point format must be 6, 7 or 8");
    }
    if (encoding.itemVersion != 3 && encoding.itemVersion != 4)
    {
        throw std::invalid_argument("Version of items must be 3 or 4");
    }
    if (encoding.extraBytes > kMaxExtraBytes)
    {
        throw std::invalid_argument("There must be at most 1024 extra bytes");
    }
    std::vector<LASitem> items{{LASitem::POINT14, 30, encoding.itemVersion}};
    if (encoding.pointFormat == 7)
    {
        items.push_back({LASitem::RGB14, 6, encoding.itemVersion});
    }
    if (encoding.pointFormat == 8)
    {
        items.push_back({LASitem::RGBNIR14, 8, encoding.itemVersion});
    }
    if (encoding.extraBytes > 0)
    {
        items.push_back(
            {LASitem::BYTE14, static_cast<unsigned short>(encoding.extraBytes), encoding.itemVersion}
        );
    }
    return items;
}

/// Chunks of any number of points go by the largest number that there is.
std::uint32_t storedChunkSize(const LazEncoding& encoding)
{
    return encoding.chunkSize == 0 ? std::numeric_limits<std::uint32_t>::max() : encoding.chunkSize;
}

/// Hands bytes on in blocks. Positions are those in the file.
class SinkStream final : public ByteStreamOut
{
public:
    SinkStream(LasSink& sink, std::uint64_t begin) : mSink(sink), mEnd(begin), mPosition(begin) {}

    /// Hands on what is left.
    void flush()
    {
        mSink.write(mBlock);
        mBlock.clear();
    }

    BOOL putByte(U8 byte) override { return putBytes(&byte, 1); }

    BOOL putBytes(const U8* bytes, U32 count) override
    {
        const std::string_view text(reinterpret_cast<const char*>(bytes), count);
        if (mPosition == mEnd)
        {
            mBlock += text;
            mEnd += count;
            if (mBlock.size() >= kBlock)
            {
                flush();
            }
        }
        else
        {
            // LASzip goes back for one number only, the position of the chunk table.
            flush();
            mSink.rewrite(mPosition, text);
        }
        mPosition += count;
        return TRUE;
    }

    BOOL put16bitsLE(const U8* bytes) override { return putBytes(bytes, 2); }

    BOOL put32bitsLE(const U8* bytes) override { return putBytes(bytes, 4); }

    BOOL put64bitsLE(const U8* bytes) override { return putBytes(bytes, 8); }

    // The library writes no other byte order.
    BOOL put16bitsBE(const U8*) override { return FALSE; }

    BOOL put32bitsBE(const U8*) override { return FALSE; }

    BOOL put64bitsBE(const U8*) override { return FALSE; }

    BOOL isSeekable() const override { return TRUE; }

    I64 tell() const override { return static_cast<I64>(mPosition); }

    BOOL seek(const I64 position) override
    {
        mPosition = static_cast<std::uint64_t>(position);
        return TRUE;
    }

    BOOL seekEnd() override
    {
        mPosition = mEnd;
        return TRUE;
    }

private:
    LasSink& mSink;
    std::string mBlock;
    std::uint64_t mEnd;
    std::uint64_t mPosition;
};

/// A point as the library takes it.
class PointBuffer
{
public:
    explicit PointBuffer(const LazEncoding& encoding)
        : mItems{mPoint.data(), mColors.data()}, mExtra(encoding.extraBytes)
    {
        mItems[encoding.pointFormat == 6 ? 1 : 2] = mExtra.data();
    }

    PointBuffer(const PointBuffer&) = delete;
    PointBuffer& operator=(const PointBuffer&) = delete;

    void set(const LasPoint& point, std::span<const std::byte> extra)
    {
        if (extra.size() != mExtra.size())
        {
            throw std::invalid_argument("There must be as many extra bytes as the encoding says");
        }
        const auto shortReturn = [](std::uint8_t value) { return std::min<unsigned>(value, 7U); };
        const auto angle = std::clamp(point.scanAngle * 0.006, -128.0, 127.0);
        put(0, point.position);
        put(12, point.intensity);
        // as older formats store it
        put(14,
            static_cast<std::uint8_t>(shortReturn(point.returnNumber) | shortReturn(point.returnCount) << 3U)
        );
        put(15, static_cast<std::uint8_t>(point.classification < 32 ? point.classification : 0));
        put(16, static_cast<std::int8_t>(angle));
        put(17, point.userData);
        put(18, point.pointSource);
        put(20, point.scanAngle);
        put(22, std::uint8_t{1});  // not one of an older format
        put(23, point.classification);
        put(24, static_cast<std::uint8_t>((point.returnNumber & 15U) | (point.returnCount & 15U) << 4U));
        put(32, point.time);
        std::memcpy(mColors.data(), point.color.data(), sizeof point.color);
        if (!extra.empty())
        {
            std::memcpy(mExtra.data(), extra.data(), extra.size());
        }
    }

    const U8* const* items() const noexcept { return mItems.data(); }

private:
    template <class T>
    void put(std::size_t position, const T& value)
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

struct LazEncoder::Library
{
    Library(const LazEncoding& encoding, LasSink& sink, std::uint64_t begin)
        : stream(sink, begin), point(encoding)
    {
        const std::vector<LASitem> items = itemsOf(encoding);
        settings.compressor = LASZIP_COMPRESSOR_LAYERED_CHUNKED;
        settings.chunk_size = storedChunkSize(encoding);
        settings.num_items = static_cast<unsigned short>(items.size());
        settings.items = new LASitem[items.size()];  // which it deletes
        std::ranges::copy(items, settings.items);
        require(writer.setup(settings.num_items, settings.items, &settings) && writer.init(&stream));
    }

    LASzip settings;
    SinkStream stream;
    LASwritePoint writer;
    PointBuffer point;
};

LazEncoder::LazEncoder(const LazEncoding& encoding, LasSink& sink, std::uint64_t begin)
    : mLibrary(std::make_unique<Library>(encoding, sink, begin))
{
}

LazEncoder::~LazEncoder() = default;

void LazEncoder::add(const LasPoint& point, std::span<const std::byte> extra)
{
    mLibrary->point.set(point, extra);
    require(mLibrary->writer.write(mLibrary->point.items()) != 0);
}

void LazEncoder::endChunk()
{
    require(mLibrary->writer.chunk() != 0);
}

std::uint64_t LazEncoder::position() const
{
    return static_cast<std::uint64_t>(mLibrary->stream.tell());
}

void LazEncoder::finish()
{
    require(mLibrary->writer.done() != 0);
    mLibrary->stream.flush();
}

std::string LazEncoder::record(const LazEncoding& encoding)
{
    constexpr std::int64_t kNone = -1;
    const std::vector<LASitem> items = itemsOf(encoding);
    std::string bytes;
    appendBytes(bytes, std::uint16_t{LASZIP_COMPRESSOR_LAYERED_CHUNKED});
    appendBytes(bytes, std::uint16_t{LASZIP_CODER_ARITHMETIC});
    appendBytes(bytes, std::uint8_t{LASZIP_VERSION_MAJOR});
    appendBytes(bytes, std::uint8_t{LASZIP_VERSION_MINOR});
    appendBytes(bytes, std::uint16_t{LASZIP_VERSION_REVISION});
    appendBytes(bytes, std::uint32_t{0});  // options
    appendBytes(bytes, storedChunkSize(encoding));
    appendBytes(bytes, kNone);  // special records
    appendBytes(bytes, kNone);
    appendBytes(bytes, static_cast<std::uint16_t>(items.size()));
    for (const LASitem& item : items)
    {
        appendBytes(bytes, static_cast<std::uint16_t>(item.type));
        appendBytes(bytes, std::uint16_t{item.size});
        appendBytes(bytes, std::uint16_t{item.version});
    }
    return bytes;
}

std::size_t LazEncoder::recordLength(const LazEncoding& encoding)
{
    std::size_t length = 0;
    for (const LASitem& item : itemsOf(encoding))
    {
        length += item.size;
    }
    return length;
}
}  // namespace Las
