#include "octree/entwine/zstdDecode.h"

#include "octree/unpackedSize.h"

#include <zstd.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <zstd_errors.h>

namespace Entwine
{
namespace
{
struct FreeDecoder
{
    void operator()(ZSTD_DCtx* decoder) const noexcept { ZSTD_freeDCtx(decoder); }
};

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

/// Goes along the blocks of the frame without unpacking them.
void checkStoredSize(std::span<const std::byte> in)
{
    const std::size_t stored = ZSTD_findFrameCompressedSize(in.data(), in.size());
    if (ZSTD_isError(stored) != 0)
    {
        throw std::runtime_error(
            "Zstandard frame is truncated or broken after " + std::to_string(in.size()) +
            " bytes: " + ZSTD_getErrorName(stored)
        );
    }
    if (stored != in.size())
    {
        throw std::runtime_error(
            std::to_string(in.size() - stored) + " bytes follow the end of the Zstandard frame"
        );
    }
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
    checkStoredSize(in);
    if (size > Octree::largestUnpackedSize(in.size()))
    {
        throw std::runtime_error(
            "Zstandard frame of " + std::to_string(in.size()) + " bytes is too short" + expectedSize(size) +
            " unpacked"
        );
    }
    if (stopToken.stop_requested())
    {
        return false;
    }
    const std::unique_ptr<ZSTD_DCtx, FreeDecoder> decoder(ZSTD_createDCtx());
    if (!decoder)
    {
        throw std::bad_alloc();
    }
    if (out.capacity() < size)
    {
        std::vector<std::byte>().swap(out);  // so that there are never two
    }
    out.resize(size);
    const std::size_t written =
        ZSTD_decompressDCtx(decoder.get(), out.data(), out.size(), in.data(), in.size());
    if (ZSTD_isError(written) != 0)
    {
        throw std::runtime_error(
            ZSTD_getErrorCode(written) == ZSTD_error_dstSize_tooSmall
                ? "Zstandard frame unpacks to more bytes" + expectedSize(size)
                : std::string("broken Zstandard frame: ") + ZSTD_getErrorName(written)
        );
    }
    if (written != size)
    {
        throw std::runtime_error(
            "Zstandard frame unpacks to " + std::to_string(written) + " bytes" + expectedSize(size)
        );
    }
    return !stopToken.stop_requested();
}
}  // namespace Entwine
