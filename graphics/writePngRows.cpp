#include "graphics/writePngRows.h"

#include "core/replaceFile.h"
#include "core/toUtf8.h"

#include <spng.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace Graphics
{
namespace
{
constexpr std::uint64_t kLargestSide = 0x7FFFFFFF;  // of the file format

/// On pictures of point splats, which repeat pixels exactly, level 4 without filters takes a quarter of the
/// time of the library's defaults and makes files that are a quarter smaller. Depth has gradients, which need
/// the filters.
constexpr int kCompressionLevel = 4;

struct FreeContext
{
    void operator()(spng_ctx* context) const noexcept { spng_ctx_free(context); }
};

struct FreeMemory
{
    void operator()(void* memory) const noexcept
    {
        std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc): the library took it with malloc
    }
};

[[noreturn]] void fail(const std::filesystem::path& path, const std::string& reason)
{
    throw std::runtime_error("Error: cannot write " + Core::toUtf8(path) + " as PNG: " + reason);
}
}  // namespace

void writePngRows(
    const std::filesystem::path& path,
    std::uint64_t width,
    std::uint64_t height,
    PngLayout layout,
    const std::function<void(std::uint64_t y, std::span<std::byte> row)>& fillRow
)
{
    if (width == 0 || height == 0)
    {
        fail(path, "the image has no pixels");
    }
    if (width > kLargestSide || height > kLargestSide)
    {
        fail(path, "the image is too large");
    }
    const auto check = [&path](int result)
    {
        if (result != 0)
        {
            fail(path, spng_strerror(result));
        }
    };
    const std::unique_ptr<spng_ctx, FreeContext> context(spng_ctx_new(SPNG_CTX_ENCODER));
    if (!context)
    {
        throw std::bad_alloc();
    }
    const bool isGray = layout == PngLayout::Gray16;
    spng_ihdr header{};
    header.width = static_cast<std::uint32_t>(width);
    header.height = static_cast<std::uint32_t>(height);
    header.bit_depth = isGray ? 16 : 8;
    header.color_type =
        static_cast<std::uint8_t>(isGray ? SPNG_COLOR_TYPE_GRAYSCALE : SPNG_COLOR_TYPE_TRUECOLOR_ALPHA);
    check(spng_set_option(context.get(), SPNG_ENCODE_TO_BUFFER, 1));
    check(spng_set_option(context.get(), SPNG_IMG_COMPRESSION_LEVEL, kCompressionLevel));
    check(spng_set_option(
        context.get(), SPNG_FILTER_CHOICE, isGray ? SPNG_FILTER_CHOICE_ALL : SPNG_DISABLE_FILTERING
    ));
    check(spng_set_ihdr(context.get(), &header));
    constexpr int kRowByRow = SPNG_ENCODE_PROGRESSIVE | SPNG_ENCODE_FINALIZE;
    check(spng_encode_image(context.get(), nullptr, 0, SPNG_FMT_PNG, kRowByRow));

    std::vector<std::byte> row(static_cast<std::size_t>(width) * (isGray ? 2 : 4));
    for (std::uint64_t y = 0; y < height; ++y)
    {
        fillRow(y, row);
        const int result = spng_encode_row(context.get(), row.data(), row.size());
        check(result == SPNG_EOI && y + 1 == height ? 0 : result);
    }

    int error = 0;
    std::size_t size = 0;
    const std::unique_ptr<void, FreeMemory> file(spng_get_png_buffer(context.get(), &size, &error));
    check(error);
    Core::replaceFile(path, std::span(static_cast<const std::byte*>(file.get()), size));
}
}  // namespace Graphics
