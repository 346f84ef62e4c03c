#include "octree/las/decodeChunks.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <laszip/lasreadpoint.hpp>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace Las
{
namespace
{
constexpr std::size_t kFirstStep = 65536;       // points before a first growth
constexpr std::uint32_t kStopStep = 1U << 12U;  // points between two looks at the stop token

/// The fields of layered points that rows are made of. The others are stepped over.
constexpr unsigned kWantedLayers = LASZIP_DECOMPRESS_SELECTIVE_Z |
                                   LASZIP_DECOMPRESS_SELECTIVE_CLASSIFICATION |
                                   LASZIP_DECOMPRESS_SELECTIVE_INTENSITY |
                                   LASZIP_DECOMPRESS_SELECTIVE_POINT_SOURCE | LASZIP_DECOMPRESS_SELECTIVE_RGB;
constexpr unsigned kRecordLayers = LASZIP_DECOMPRESS_SELECTIVE_SCAN_ANGLE |
                                   LASZIP_DECOMPRESS_SELECTIVE_USER_DATA |
                                   LASZIP_DECOMPRESS_SELECTIVE_GPS_TIME;

constexpr float kDegreesPerStep = 0.006F;  // of the scan angles of layered points

/// Lends the library chunks and nothing else: it sees no chunk table, which it would trust, and needs none to
/// read chunks one after the other.
///
/// Reading past the end is what the library knows as the exception EOF, an integer.
class ChunkStream final : public ByteStreamIn
{
public:
    explicit ChunkStream(std::span<const std::byte> bytes) : mBytes(bytes) {}

    /// To be called before the first point of each chunk. Of layered chunks the sizes that follow its first
    /// point are checked before the library adds them up in 32 bits and takes memory for them.
    void beginChunk(std::uint32_t pointCount) noexcept
    {
        mChunkPoints = pointCount;
        mWordsRead = 0;
        mPromised = 0;
    }

    std::size_t left() const noexcept { return mBytes.size() - mPosition; }

    U32 getByte() override
    {
        if (mPosition == mBytes.size())
        {
            throw EOF;
        }
        return std::to_integer<U32>(mBytes[mPosition++]);
    }

    void getBytes(U8* bytes, const U32 count) override
    {
        if (count > left())
        {
            throw EOF;
        }
        if (count > 0)
        {
            std::memcpy(bytes, mBytes.data() + mPosition, count);
            mPosition += count;
        }
    }

    /// Only the number of points of a layered chunk and the sizes of its layers are read this way.
    void get32bitsLE(U8* bytes) override
    {
        getBytes(bytes, sizeof(U32));
        U32 word;
        std::memcpy(&word, bytes, sizeof word);
        if (mWordsRead++ == 0)
        {
            if (word != mChunkPoints)
            {
                throw std::runtime_error(
                    "a chunk of " + std::to_string(word) + " points, expected " + std::to_string(mChunkPoints)
                );
            }
            return;
        }
        mPromised += word;
        if (mPromised > left())
        {
            throw EOF;
        }
    }

    /// Only the position of the chunk table is read this way: it is not known.
    void get64bitsLE(U8* bytes) override
    {
        constexpr I64 kUnknown = -1;
        std::memcpy(bytes, &kUnknown, sizeof kUnknown);
    }

    void get16bitsLE(U8* bytes) override { getBytes(bytes, sizeof(U16)); }

    // The library reads no other byte order on a little-endian machine.
    void get16bitsBE(U8*) override { throw EOF; }

    void get32bitsBE(U8*) override { throw EOF; }

    void get64bitsBE(U8*) override { throw EOF; }

    BOOL isSeekable() const override { return FALSE; }

    /// Chunks stand behind the position of their table: the library takes 0 for "nothing read yet".
    I64 tell() const override { return static_cast<I64>(mPosition) + static_cast<I64>(sizeof(I64)); }

    BOOL seek(const I64 position) override
    {
        constexpr auto kFirst = static_cast<I64>(sizeof(I64));
        if (position < kFirst || static_cast<U64>(position - kFirst) > mBytes.size())
        {
            throw EOF;
        }
        mPosition = static_cast<std::size_t>(position - kFirst);
        return TRUE;
    }

    BOOL seekEnd(const I64) override { throw EOF; }

private:
    std::span<const std::byte> mBytes;
    std::size_t mPosition = 0;
    std::uint32_t mChunkPoints = 0;
    std::size_t mWordsRead = 0;
    std::uint64_t mPromised = 0;  // bytes of layers
};

/// Where the library puts the items of a point. Layered points become larger in memory than they are in the
/// file.
class PointBuffer
{
public:
    explicit PointBuffer(const LazHeader& header)
        : mExtra(header.items.back().size),
          mIsLayered(header.isLayered),
          mHasColors(header.hasColors),
          mRecords(header.hasRecordRows ? LasRow::records(header) : 0)
    {
        for (std::size_t i = 0; i < header.items.size(); ++i)
        {
            mItems[i] = bufferOf(header.items[i].type);
        }
    }

    PointBuffer(const PointBuffer&) = delete;
    PointBuffer& operator=(const PointBuffer&) = delete;

    U8* const* items() const noexcept { return mItems.data(); }

    void writeRow(std::byte* row) const noexcept
    {
        std::memcpy(row, mPoint.data(), LasRow::kPointSource);  // X, Y, Z, intensity
        std::memcpy(row + LasRow::kPointSource, mPoint.data() + 18, 2);
        // Older formats keep flags in the upper three bits.
        row[LasRow::kClassification] =
            std::byte{mIsLayered ? mPoint[23] : static_cast<U8>(mPoint[15] & 0x1fU)};
        if (mHasColors)
        {
            std::memcpy(row + LasRow::kColors, mColors.data(), 6);
        }
        if (mRecords > 0)
        {
            writeRecords(row + mRecords);
        }
    }

private:
    void writeRecords(std::byte* records) const noexcept
    {
        const unsigned returns = mIsLayered ? mPoint[24] : mPoint[14];
        const unsigned bits = mIsLayered ? 4 : 3;
        const unsigned mask = (1U << bits) - 1;
        records[LasRow::kReturnNumber] = static_cast<std::byte>(returns & mask);
        records[LasRow::kReturnCount] = static_cast<std::byte>(returns >> bits & mask);
        records[LasRow::kUserData] = std::byte{mPoint[17]};
        float angle = static_cast<float>(static_cast<std::int8_t>(mPoint[16]));
        if (mIsLayered)
        {
            std::int16_t steps;
            std::memcpy(&steps, mPoint.data() + 20, sizeof steps);
            angle = static_cast<float>(steps) * kDegreesPerStep;
        }
        std::memcpy(records + LasRow::kScanAngle, &angle, sizeof angle);
        std::memcpy(
            records + LasRow::kGpsTime, mIsLayered ? mPoint.data() + 32 : mTime.data(), sizeof(double)
        );
    }

    U8* bufferOf(std::uint16_t type) noexcept
    {
        switch (type)
        {
            case LASitem::POINT10:
            case LASitem::POINT14:
                return mPoint.data();
            case LASitem::GPSTIME11:
                return mTime.data();
            case LASitem::RGB12:
            case LASitem::RGB14:
            case LASitem::RGBNIR14:
                return mColors.data();
            default:
                return mExtra.data();
        }
    }

    alignas(8) std::array<U8, 128> mPoint{};
    alignas(8) std::array<U8, 8> mTime{};
    alignas(8) std::array<U8, 8> mColors{};
    std::vector<U8> mExtra;
    std::array<U8*, 4> mItems{};
    bool mIsLayered;
    bool mHasColors;
    std::size_t mRecords;  // where in a row they begin; 0 without them
};

void setUp(LASreadPoint& reader, LASzip& compression, const LazHeader& header, std::uint32_t chunkSize)
{
    const auto count = static_cast<unsigned short>(header.items.size());
    compression.compressor =
        header.isLayered ? LASZIP_COMPRESSOR_LAYERED_CHUNKED : LASZIP_COMPRESSOR_POINTWISE_CHUNKED;
    compression.coder = LASZIP_CODER_ARITHMETIC;
    compression.chunk_size = chunkSize;
    compression.num_items = count;
    compression.items = new LASitem[count];  // which it deletes
    for (std::size_t i = 0; i < count; ++i)
    {
        const LazItem& item = header.items[i];
        compression.items[i] = {static_cast<LASitem::Type>(item.type), item.size, item.version};
    }
    if (!reader.setup(count, compression.items, &compression))
    {
        throw std::runtime_error("the LASzip library cannot read these points");
    }
}

/// Owns a reader. Where memory ran out inside LASzip, its lists hold pointers that were never set, and its
/// destructors would follow them: such a reader is forgotten.
class OwnedReader
{
public:
    explicit OwnedReader(const LazHeader& header)
        : mReader(std::make_unique<LASreadPoint>(kWantedLayers | (header.hasRecordRows ? kRecordLayers : 0U)))
    {
    }

    LASreadPoint& operator*() const noexcept { return *mReader; }

    void forget() noexcept { static_cast<void>(mReader.release()); }

private:
    std::unique_ptr<LASreadPoint> mReader;
};

[[noreturn]] void failBroken(const LASreadPoint& reader, std::uint32_t point)
{
    const char* const reason = reader.error();
    throw std::runtime_error(
        "broken compressed points: point " + std::to_string(point) + " cannot be read (" +
        (reason != nullptr ? reason : "no reason known") + ')'
    );
}

/// @param chunkSize  points of each chunk but the last
/// @param end        what points must end before, for messages
bool decode(
    LASreadPoint& reader,
    std::span<const std::byte> bytes,
    std::uint32_t count,
    std::uint32_t chunkSize,
    const char* end,
    const LazHeader& header,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
)
{
    ChunkStream stream(bytes);
    LASzip compression;
    setUp(reader, compression, header, chunkSize);
    reader.init(&stream);

    PointBuffer point(header);
    const std::size_t length = LasRow::length(header);
    out.resize(std::min<std::size_t>(count, std::max(out.capacity() / length, kFirstStep)) * length);
    std::byte* row = out.data();
    std::uint32_t leftInChunk = 0;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        if (i % kStopStep == 0 && stopToken.stop_requested())
        {
            return false;
        }
        if (leftInChunk == 0)
        {
            leftInChunk = std::min(chunkSize, count - i);
            stream.beginChunk(leftInChunk);
        }
        --leftInChunk;
        if (!reader.read(point.items()))
        {
            failBroken(reader, i);
        }
        if (i * length == out.size())
        {
            out.resize(std::min<std::size_t>(count, std::size_t{i} * 2) * length);
            row = out.data() + i * length;
        }
        point.writeRow(row);
        row += length;
    }
    if (stream.left() != 0)
    {
        throw std::runtime_error(
            "compressed points end " + std::to_string(stream.left()) + " bytes before " + end
        );
    }
    return true;
}

bool decodeOwned(
    std::span<const std::byte> bytes,
    std::uint32_t count,
    std::uint32_t chunkSize,
    const char* end,
    const LazHeader& header,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
)
{
    OwnedReader reader(header);
    try
    {
        return decode(*reader, bytes, count, chunkSize, end, header, out, stopToken);
    }
    catch (const std::bad_alloc&)
    {
        reader.forget();
        throw;
    }
}
}  // namespace

bool decodeChunk(
    std::span<const std::byte> chunk,
    std::uint32_t pointCount,
    const LazHeader& header,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
)
{
    return decodeOwned(
        chunk,
        pointCount,
        pointCount,
        "the end of the chunk, expected them to fill it",
        header,
        out,
        stopToken
    );
}

bool decodeChunks(
    std::span<const std::byte> chunks,
    std::uint32_t pointCount,
    const LazHeader& header,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
)
{
    if (header.chunkSize == LazHeader::kVaryingChunks)
    {
        throw std::invalid_argument(
            "Error: chunks of varying numbers of points can only be decoded one by one"
        );
    }
    return decodeOwned(
        chunks,
        pointCount,
        header.chunkSize,
        "the chunk table, expected its beginning",
        header,
        out,
        stopToken
    );
}
}  // namespace Las
