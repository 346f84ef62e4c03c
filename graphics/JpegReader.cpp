#include "graphics/JpegReader.h"

#include "core/errorReason.h"
#include "graphics/PictureLimits.h"

#include <jpeglib.h>

#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace Graphics
{
namespace
{
static_assert(sizeof(Math::Color) == 4);

/// The decoder with what its callbacks need. It leaves by longjmp on errors, so no object with a destructor
/// may live in a function that calls it between setjmp and the call.
struct Decoder
{
    jpeg_decompress_struct info{};  // first: the callbacks find the rest by it
    jpeg_error_mgr errors{};
    jpeg_progress_mgr progress{};
    std::jmp_buf leave{};
    std::array<char, JMSG_LENGTH_MAX> message{};
    int mostScans = 0;
    const std::stop_token* stopToken = nullptr;
    bool wasStopped = false;
};

Decoder& decoderOf(j_common_ptr info)
{
    return *static_cast<Decoder*>(info->client_data);
}

[[noreturn]] void leaveWithMessage(j_common_ptr info)
{
    Decoder& decoder = decoderOf(info);
    info->err->format_message(info, decoder.message.data());
    std::longjmp(decoder.leave, 1);
}

void treatWarningAsError(j_common_ptr info, int level)
{
    if (level < 0)
    {
        leaveWithMessage(info);
    }
}

/// @returns true when a stop was requested
bool looksAtStop(Decoder& decoder)
{
    decoder.wasStopped = decoder.stopToken->stop_requested();
    return decoder.wasStopped;
}

/// Called for each row of blocks of each pass.
void checkProgress(j_common_ptr info)
{
    Decoder& decoder = decoderOf(info);
    if (looksAtStop(decoder))
    {
        std::longjmp(decoder.leave, 1);
    }
    if (decoder.info.input_scan_number > decoder.mostScans)
    {
        std::snprintf(
            decoder.message.data(),
            decoder.message.size(),
            "more than %d scans of %u x %u pixels",
            decoder.mostScans,
            decoder.info.image_width,
            decoder.info.image_height
        );
        std::longjmp(decoder.leave, 1);
    }
}

/// Owns the decoder's memory.
class DecoderOwner
{
public:
    DecoderOwner() = default;
    DecoderOwner(const DecoderOwner&) = delete;
    DecoderOwner& operator=(const DecoderOwner&) = delete;

    ~DecoderOwner()
    {
        if (decoder.info.mem != nullptr)
        {
            jpeg_destroy_decompress(&decoder.info);
        }
    }

    Decoder decoder;
};

/// @returns false with a message in the decoder
bool readHeader(Decoder& decoder, const std::string& file)
{
    decoder.info.err = jpeg_std_error(&decoder.errors);
    decoder.errors.error_exit = leaveWithMessage;
    decoder.errors.emit_message = treatWarningAsError;
    decoder.info.client_data = &decoder;
    if (setjmp(decoder.leave) != 0)
    {
        return false;
    }
    jpeg_create_decompress(&decoder.info);  // keeps err and client_data
    jpeg_mem_src(
        &decoder.info,
        reinterpret_cast<const unsigned char*>(file.data()),
        static_cast<unsigned long>(file.size())
    );
    jpeg_read_header(&decoder.info, TRUE);
    return true;
}

bool decode(Decoder& decoder, unsigned char* pixels, std::size_t rowPitch)
{
    if (setjmp(decoder.leave) != 0)
    {
        return false;
    }
    decoder.progress.progress_monitor = checkProgress;
    decoder.info.progress = &decoder.progress;
    decoder.info.out_color_space = JCS_EXT_BGRA;
    jpeg_start_decompress(&decoder.info);
    while (decoder.info.output_scanline < decoder.info.output_height)
    {
        if (looksAtStop(decoder))
        {
            return false;
        }
        JSAMPROW row = pixels + rowPitch * decoder.info.output_scanline;
        jpeg_read_scanlines(&decoder.info, &row, 1);
    }
    jpeg_finish_decompress(&decoder.info);
    return true;
}

[[noreturn]] void fail(const std::string& name, const std::string& reason)
{
    throw std::runtime_error("Error: cannot read " + name + " as JPEG: " + Core::errorReason(reason));
}
}  // namespace

std::optional<ColorImage> readJpeg(
    const std::string& name,
    const std::string& file,
    const std::function<void(std::uint32_t width, std::uint32_t height)>& acceptSize,
    const std::stop_token& stopToken
)
{
    if (file.empty())
    {
        fail(name, "the file is empty");
    }
    DecoderOwner owner;
    Decoder& decoder = owner.decoder;
    if (!readHeader(decoder, file))
    {
        fail(name, decoder.message.data());
    }
    const std::uint32_t width = decoder.info.image_width;
    const std::uint32_t height = decoder.info.image_height;
    if (width > PictureLimits::kLargestSide || height > PictureLimits::kLargestSide)
    {
        fail(
            name,
            std::to_string(width) + " x " + std::to_string(height) + " pixels are more than " +
                std::to_string(PictureLimits::kLargestSide) + " on a side"
        );
    }
    if (decoder.info.jpeg_color_space != JCS_GRAYSCALE && decoder.info.jpeg_color_space != JCS_YCbCr &&
        decoder.info.jpeg_color_space != JCS_RGB)
    {
        fail(name, "only grey, YCbCr and RGB pictures are supported");
    }
    if (decoder.info.arith_code)
    {
        fail(name, "arithmetic coding is not supported");
    }
    const std::uint64_t pixelCount = std::uint64_t{width} * height;
    // What the header takes, and what it carries, holds no pixels.
    if (const std::size_t stored = decoder.info.src->bytes_in_buffer;
        pixelCount / PictureLimits::kMostJpegPixelsPerByte > stored)
    {
        fail(
            name,
            "its " + std::to_string(stored) + " compressed bytes cannot hold the announced " +
                std::to_string(width) + " x " + std::to_string(height) + " pixels"
        );
    }
    if (acceptSize)
    {
        acceptSize(width, height);
    }
    decoder.mostScans = PictureLimits::mostJpegScans(pixelCount);
    decoder.stopToken = &stopToken;
    ColorImage image(width, height);
    if (!decode(
            decoder,
            reinterpret_cast<unsigned char*>(image.data()),
            static_cast<std::size_t>(image.rowPitch())
        ))
    {
        if (decoder.wasStopped)
        {
            return std::nullopt;
        }
        fail(name, decoder.message.data());
    }
    return image;
}
}  // namespace Graphics
