#include "graphics/ColorImage.h"

#include "core/readLocalFile.h"
#include "core/toUtf8.h"
#include "graphics/PngReader.h"
#include "graphics/swapRedAndBlue.h"
#include "graphics/writePngRows.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Graphics
{
namespace
{
constexpr std::size_t kPixelSize = sizeof(Math::Color);
}  // namespace

void ColorImage::writePng(const std::filesystem::path& path) const
{
    const auto fillRow = [this](std::uint64_t y, std::span<std::byte> row)
    {
        const char* pixels = data() + y * rowPitch();
        swapRedAndBlue(reinterpret_cast<const std::byte*>(pixels), row.data(), row.size() / kPixelSize);
    };
    writePngRows(path, width(), height(), PngLayout::Rgba8, fillRow);
}

ColorImage ColorImage::readPng(const std::filesystem::path& path)
{
    PngReader reader(Core::toUtf8(path), Core::readLocalFile(path, PictureLimits::kLargestFile));
    ColorImage image(reader.width(), reader.height());
    const std::span<std::byte> pixels = std::as_writable_bytes(std::span(image.data(), image.sizeInBytes()));
    reader.decode(pixels, SPNG_FMT_RGBA8);
    swapRedAndBlue(pixels.data(), pixels.data(), pixels.size() / kPixelSize);
    return image;
}
}  // namespace Graphics
