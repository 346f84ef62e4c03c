#include "render/renderer/MappedImage.h"

#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace Render
{
namespace
{
template <class Image>
void copyWholeInto(const MappedImage& source, std::uint64_t width, std::uint64_t height, Image& image)
{
    const bool fits = width <= source.rowPitch / sizeof(typename Image::PixelType) &&
                      source.sizeInBytes == source.rowPitch * height;
    if (!fits)
    {
        throw std::runtime_error("image size does not match");
    }
    image.resize(width, height, source.rowPitch);
    std::memcpy(image.data(), source.data, source.sizeInBytes);
}
}  // namespace

void copyWhole(
    const MappedImage& source, std::uint64_t width, std::uint64_t height, Graphics::ColorImage& image
)
{
    copyWholeInto(source, width, height, image);
}

void copyWhole(
    const MappedImage& source, std::uint64_t width, std::uint64_t height, Graphics::DepthImage& image
)
{
    copyWholeInto(source, width, height, image);
}

void copyRows(
    const MappedImage& source,
    std::uint64_t height,
    std::span<std::byte> target,
    std::uint64_t rowPitch,
    std::uint64_t rows
)
{
    const std::uint64_t rowCount = std::min(height, rows);
    const std::uint64_t rowBytes = std::min<std::uint64_t>(source.rowPitch, rowPitch);
    const std::byte* from = source.data;
    for (std::uint64_t row = 0; row < rowCount; ++row)
    {
        std::copy_n(from, std::min<std::uint64_t>(rowBytes, target.size()), target.data());
        if (target.size() <= rowPitch)
        {
            return;
        }
        target = target.subspan(rowPitch);
        from += source.rowPitch;
    }
}
}  // namespace Render
