#include "graphics/PngReader.h"

#include "core/readLocalFile.h"
#include "core/toUtf8.h"

#include <new>
#include <stdexcept>

namespace Graphics
{
namespace
{
/// Larger than any picture of the largest size that compresses at all.
constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30U;

/// What comments, profiles and the like may take.
constexpr std::size_t kLargestExtraChunk = std::size_t{1} << 24U;

/// Deflate packs at most 258 bytes into two bits.
constexpr std::uint64_t kLargestDeflateRatio = 1032;

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
}  // namespace

void PngReader::FreeContext::operator()(spng_ctx* context) const noexcept
{
    spng_ctx_free(context);
}

PngReader::PngReader(const std::filesystem::path& path)
    : mPath(path), mFile(Core::readLocalFile(path, kLargestFile)), mContext(spng_ctx_new(0))
{
    if (!mContext)
    {
        throw std::bad_alloc();
    }
    check(spng_set_image_limits(mContext.get(), kLargestSide, kLargestSide));
    check(spng_set_chunk_limits(mContext.get(), kLargestExtraChunk, kLargestExtraChunk));
    check(spng_set_crc_action(mContext.get(), SPNG_CRC_ERROR, SPNG_CRC_ERROR));
    check(spng_set_png_buffer(mContext.get(), mFile.data(), mFile.size()));
    check(spng_get_ihdr(mContext.get(), &mHeader));
    if (unpackedSize(mHeader) / kLargestDeflateRatio > mFile.size())
    {
        fail(
            "its " + std::to_string(mFile.size()) + " bytes cannot hold the announced " +
            std::to_string(mHeader.width) + " x " + std::to_string(mHeader.height) + " pixels"
        );
    }
}

bool PngReader::isGray16() const noexcept
{
    return mHeader.color_type == SPNG_COLOR_TYPE_GRAYSCALE && mHeader.bit_depth == 16;
}

void PngReader::decode(std::span<std::byte> pixels, spng_format format)
{
    std::size_t size = 0;
    check(spng_decoded_image_size(mContext.get(), format, &size));
    if (size != pixels.size())
    {
        fail("its pixels take " + std::to_string(size) + " bytes, not " + std::to_string(pixels.size()));
    }
    const int flags = format == SPNG_FMT_RGBA8 ? SPNG_DECODE_TRNS : 0;
    check(spng_decode_image(mContext.get(), pixels.data(), pixels.size(), format, flags));
    check(spng_decode_chunks(mContext.get()));  // what follows the pixels must be whole as well
}

void PngReader::fail(const std::string& reason) const
{
    throw std::runtime_error("Error: cannot read " + Core::toUtf8(mPath) + " as PNG: " + reason);
}

void PngReader::check(int result) const
{
    if (result != 0)
    {
        fail(spng_strerror(result));
    }
}
}  // namespace Graphics
