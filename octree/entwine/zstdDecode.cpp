#include "octree/entwine/zstdDecode.h"

#include <zstd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace Entwine
{
namespace
{
constexpr int kMaxWindowLog = 27;                // the most that decoders have to accept, 128 MiB
constexpr std::size_t kFirstStep = 256U << 10U;  // bytes of output before a first growth
constexpr std::size_t kStopStep = 4U << 20U;     // bytes of output between two looks at the stop token

struct FreeDecoder
{
    void operator()(ZSTD_DCtx* decoder) const noexcept { ZSTD_freeDCtx(decoder); }
};

void checkResult(std::size_t result)
{
    if (ZSTD_isError(result) != 0)
    {
        throw std::runtime_error(std::string("broken Zstandard frame: ") + ZSTD_getErrorName(result));
    }
}

std::string expectedSize(std::size_t size)
{
    return ", expected " + std::to_string(size);
}

void checkDeclaredSize(std::span<const std::byte> in, std::size_t size)
{
    const unsigned long long declared = ZSTD_getFrameContentSize(in.data(), in.size());
    if (declared == ZSTD_CONTENTSIZE_ERROR)
    {
        throw std::runtime_error("not a Zstandard frame");
    }
    if (declared != ZSTD_CONTENTSIZE_UNKNOWN && declared != size)
    {
        throw std::runtime_error(
            "Zstandard frame declares " + std::to_string(declared) + " bytes" + expectedSize(size)
        );
    }
}

std::unique_ptr<ZSTD_DCtx, FreeDecoder> makeDecoder()
{
    std::unique_ptr<ZSTD_DCtx, FreeDecoder> decoder(ZSTD_createDCtx());
    if (!decoder)
    {
        throw std::bad_alloc();
    }
    checkResult(ZSTD_DCtx_setParameter(decoder.get(), ZSTD_d_windowLogMax, kMaxWindowLog));
    return decoder;
}
}  // namespace

bool zstdDecode(
    std::span<const std::byte> in,
    std::size_t size,
    std::vector<std::byte>& out,
    const std::stop_token& stopToken
)
{
    checkDeclaredSize(in, size);
    const std::unique_ptr<ZSTD_DCtx, FreeDecoder> decoder = makeDecoder();
    ZSTD_inBuffer input{in.data(), in.size(), 0};
    out.resize(std::min(size, std::max(out.capacity(), kFirstStep)));
    std::size_t written = 0;
    for (;;)
    {
        if (stopToken.stop_requested())
        {
            return false;
        }
        if (written == out.size() && written < size)
        {
            out.resize(written <= size / 2 ? written * 2 : size);
        }
        // With all bytes out there must be room for one too many, else the decoder could not show it.
        std::byte excess{};
        const bool full = written == size;
        ZSTD_outBuffer output{full ? &excess : out.data() + written, 1, 0};
        if (!full)
        {
            output.size = std::min(out.size() - written, kStopStep);
        }
        const std::size_t inputBefore = input.pos;
        const std::size_t result = ZSTD_decompressStream(decoder.get(), &output, &input);
        checkResult(result);
        if (full && output.pos > 0)
        {
            throw std::runtime_error("Zstandard frame unpacks to more bytes" + expectedSize(size));
        }
        written += output.pos;
        if (result == 0)
        {
            break;
        }
        if (output.pos == 0 && input.pos == inputBefore && input.pos == input.size)
        {
            throw std::runtime_error(
                "Zstandard frame is truncated: it goes on after " + std::to_string(in.size()) + " bytes"
            );
        }
    }
    if (written != size)
    {
        throw std::runtime_error(
            "Zstandard frame unpacks to " + std::to_string(written) + " bytes" + expectedSize(size)
        );
    }
    if (input.pos != input.size)
    {
        throw std::runtime_error(
            std::to_string(input.size - input.pos) + " bytes follow the end of the Zstandard frame"
        );
    }
    return true;
}
}  // namespace Entwine
