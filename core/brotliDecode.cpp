#include "core/brotliDecode.h"

#include <brotli/decode.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace Core
{
namespace
{
struct DestroyDecoder
{
    void operator()(BrotliDecoderState* decoder) const noexcept { BrotliDecoderDestroyInstance(decoder); }
};

/// Appends, growing geometrically without overshooting the bound.
void append(std::vector<std::byte>& out, std::span<const std::byte> bytes, std::size_t maxOutputSize)
{
    if (bytes.size() > maxOutputSize - out.size())
    {
        throw std::runtime_error(
            "Error: Brotli stream unpacks to more than the expected " + std::to_string(maxOutputSize) +
            " bytes"
        );
    }
    const std::size_t needed = out.size() + bytes.size();
    if (needed > out.capacity())
    {
        const std::size_t doubled = out.capacity() <= maxOutputSize / 2 ? out.capacity() * 2 : maxOutputSize;
        out.reserve(std::max(needed, doubled));
    }
    out.insert(out.end(), bytes.begin(), bytes.end());
}

bool decode(
    std::span<const std::byte> in,
    std::vector<std::byte>& out,
    std::size_t maxOutputSize,
    const std::stop_token& stopToken
)
{
    const std::unique_ptr<BrotliDecoderState, DestroyDecoder> decoder(
        BrotliDecoderCreateInstance(nullptr, nullptr, nullptr)
    );
    if (!decoder)
    {
        throw std::bad_alloc();
    }
    std::size_t availableIn = in.size();
    const auto* nextIn = reinterpret_cast<const std::uint8_t*>(in.data());
    for (;;)
    {
        if (stopToken.stop_requested())
        {
            return false;
        }
        // Without an output buffer the decoder stops when its window is full and lends the new bytes, so they
        // are copied once, as with a buffer, and the vector need not be filled with zeros first.
        std::size_t noSpace = 0;
        const BrotliDecoderResult result =
            BrotliDecoderDecompressStream(decoder.get(), &availableIn, &nextIn, &noSpace, nullptr, nullptr);
        if (result == BROTLI_DECODER_RESULT_ERROR)
        {
            throw std::runtime_error(
                std::string("Error: broken Brotli stream: ") +
                BrotliDecoderErrorString(BrotliDecoderGetErrorCode(decoder.get()))
            );
        }
        while (BrotliDecoderHasMoreOutput(decoder.get()) != BROTLI_FALSE)
        {
            std::size_t size = 0;  // 0 asks for all there is
            const std::uint8_t* bytes = BrotliDecoderTakeOutput(decoder.get(), &size);
            append(out, std::as_bytes(std::span(bytes, size)), maxOutputSize);
        }
        if (result == BROTLI_DECODER_RESULT_SUCCESS)
        {
            break;
        }
        if (result == BROTLI_DECODER_RESULT_NEEDS_MORE_INPUT)
        {
            throw std::runtime_error(
                "Error: Brotli stream is truncated: it goes on after " + std::to_string(in.size()) + " bytes"
            );
        }
    }
    if (availableIn != 0)
    {
        throw std::runtime_error(
            "Error: " + std::to_string(availableIn) + " bytes follow the end of the Brotli stream"
        );
    }
    return true;
}
}  // namespace

bool brotliDecode(
    std::span<const std::byte> in,
    std::vector<std::byte>& out,
    std::size_t maxOutputSize,
    const std::stop_token& stopToken
)
{
    out.clear();
    try
    {
        const bool isDone = decode(in, out, maxOutputSize, stopToken);
        if (!isDone)
        {
            out.clear();
        }
        return isDone;
    }
    catch (...)
    {
        out.clear();
        throw;
    }
}
}  // namespace Core
