#include "graphics/PngReader.h"

#include "core/errorReason.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Graphics
{
namespace
{
/// What comments, profiles and the like may take.
constexpr std::size_t kLargestExtraChunk = std::size_t{1} << 24U;

unsigned int channelCount(std::uint8_t colorType)
{
    switch (colorType)
    {
        case SPNG_COLOR_TYPE_TRUECOLOR:
            return 3;
        case SPNG_COLOR_TYPE_GRAYSCALE_ALPHA:
            return 2;
        case SPNG_COLOR_TYPE_TRUECOLOR_ALPHA:
            return 4;
        default:
            return 1;
    }
}

std::uint64_t unpackedSize(const spng_ihdr& header)
{
    const std::uint64_t bits =
        std::uint64_t{header.width} * header.bit_depth * channelCount(header.color_type);
    return ((bits + 7) / 8 + 1) * header.height;  // one more byte a row names its filter
}

/// Bytes of all chunks with pixels, as far as they are there. What else a file holds could be as long as it
/// likes.
std::uint64_t pixelDataSize(std::string_view file)
{
    constexpr std::size_t kSignature = 8;
    constexpr std::size_t kFrame = 12;  // length, name and checksum of a chunk
    std::uint64_t size = 0;
    for (std::uint64_t chunk = kSignature; chunk + kFrame <= file.size();)
    {
        std::uint64_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
        {
            length = length << 8U | static_cast<unsigned char>(file[static_cast<std::size_t>(chunk) + i]);
        }
        const std::string_view name = file.substr(static_cast<std::size_t>(chunk) + 4, 4);
        size += name == "IDAT" ? std::min(length, file.size() - chunk - kFrame) : 0;
        chunk += kFrame + length;
    }
    return size;
}
}  // namespace

void PngReader::FreeContext::operator()(spng_ctx* context) const noexcept
{
    spng_ctx_free(context);
}

PngReader::PngReader(std::string name, std::string file)
    : mName(std::move(name)), mFile(std::move(file)), mContext(spng_ctx_new(0))
{
    if (!mContext)
    {
        throw std::bad_alloc();
    }
    check(spng_set_image_limits(mContext.get(), PictureLimits::kLargestSide, PictureLimits::kLargestSide));
    check(spng_set_chunk_limits(mContext.get(), kLargestExtraChunk, kLargestExtraChunk));
    check(spng_set_crc_action(mContext.get(), SPNG_CRC_ERROR, SPNG_CRC_ERROR));
    check(spng_set_png_buffer(mContext.get(), mFile.data(), mFile.size()));
    check(spng_get_ihdr(mContext.get(), &mHeader));
    if (const std::uint64_t stored = pixelDataSize(mFile);
        unpackedSize(mHeader) / PictureLimits::kMostPngBytesPerByte > stored)
    {
        fail(
            "its " + std::to_string(stored) + " compressed bytes cannot hold the announced " +
            std::to_string(mHeader.width) + " x " + std::to_string(mHeader.height) + " pixels"
        );
    }
}

bool PngReader::isGray16() const noexcept
{
    return mHeader.color_type == SPNG_COLOR_TYPE_GRAYSCALE && mHeader.bit_depth == 16;
}

bool PngReader::decode(std::span<std::byte> pixels, spng_format format, const std::stop_token& stopToken)
{
    std::size_t size = 0;
    check(spng_decoded_image_size(mContext.get(), format, &size));
    if (size != pixels.size())
    {
        fail("its pixels take " + std::to_string(size) + " bytes, not " + std::to_string(pixels.size()));
    }
    const int flags = SPNG_DECODE_PROGRESSIVE | (format == SPNG_FMT_RGBA8 ? SPNG_DECODE_TRNS : 0);
    check(spng_decode_image(mContext.get(), nullptr, 0, format, flags));
    const std::size_t rowSize = size / mHeader.height;
    for (;;)
    {
        if (stopToken.stop_requested())
        {
            return false;
        }
        spng_row_info row{};  // rows of interlaced pictures come several times
        check(spng_get_row_info(mContext.get(), &row));
        const int result = spng_decode_row(mContext.get(), pixels.data() + row.row_num * rowSize, rowSize);
        if (result == SPNG_EOI)
        {
            break;
        }
        check(result);
    }
    check(spng_decode_chunks(mContext.get()));  // what follows the pixels must be whole as well
    return true;
}

void PngReader::fail(const std::string& reason) const
{
    throw std::runtime_error("Error: cannot read " + mName + " as PNG: " + Core::errorReason(reason));
}

void PngReader::check(int result) const
{
    if (result != 0)
    {
        fail(spng_strerror(result));
    }
}
}  // namespace Graphics
