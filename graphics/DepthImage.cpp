#include "graphics/DepthImage.h"

#include "core/readLocalFile.h"
#include "core/toUtf8.h"
#include "graphics/PngReader.h"
#include "graphics/writePngRows.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

namespace Graphics
{
namespace
{
std::uint16_t toGray16(float value) noexcept
{
    constexpr float kLargest = 65535.0F;
    if (!(value > 0.0F))
    {
        return 0;
    }
    return static_cast<std::uint16_t>(std::round((value < 1.0F ? value : 1.0F) * kLargest));
}
}  // namespace

void DepthImage::writePng(const std::filesystem::path& path) const
{
    const auto fillRow = [this](std::uint64_t y, std::span<std::byte> row)
    {
        for (std::uint64_t x = 0; x < width(); ++x)
        {
            const std::uint16_t gray = toGray16(pixel(x, y));
            std::memcpy(row.data() + x * sizeof gray, &gray, sizeof gray);
        }
    };
    writePngRows(path, width(), height(), PngLayout::Gray16, fillRow);
}

Gray16Image readGray16Png(const std::filesystem::path& path)
{
    PngReader reader(Core::toUtf8(path), Core::readLocalFile(path, PictureLimits::kLargestFile));
    if (!reader.isGray16())
    {
        reader.fail("16-bit grey pixels without alpha expected");
    }
    Gray16Image image;
    image.width = reader.width();
    image.height = reader.height();
    image.values.resize(std::size_t{image.width} * image.height);
    reader.decode(std::as_writable_bytes(std::span(image.values)), SPNG_FMT_PNG);
    return image;
}

void writeGray16Png(
    const std::filesystem::path& path,
    std::uint32_t width,
    std::uint32_t height,
    std::span<const std::uint16_t> values
)
{
    if (values.size() != std::uint64_t{width} * height)
    {
        throw std::runtime_error(
            "Error: cannot write " + Core::toUtf8(path) + ": " + std::to_string(values.size()) +
            " values for " + std::to_string(width) + " x " + std::to_string(height) + " pixels"
        );
    }
    const auto fillRow = [&values, width](std::uint64_t y, std::span<std::byte> row)
    { std::memcpy(row.data(), values.data() + y * width, row.size()); };
    writePngRows(path, width, height, PngLayout::Gray16, fillRow);
}
}  // namespace Graphics
