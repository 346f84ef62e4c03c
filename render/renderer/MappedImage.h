#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace Graphics
{
class ColorImage;
class DepthImage;
}  // namespace Graphics

namespace Render
{
/// A texture's rows in memory that is lent, top row first.
///
/// Threads  a plain value.
struct MappedImage
{
    const std::byte* data = nullptr;
    std::size_t rowPitch = 0;     ///< bytes from one row to the next
    std::size_t sizeInBytes = 0;  ///< of all rows

    /// The texel at column x of row y; not range checked.
    template <class Texel>
    Texel texel(std::uint64_t x, std::uint64_t y) const noexcept
    {
        Texel result;
        std::memcpy(&result, data + y * rowPitch + x * sizeof(Texel), sizeof(Texel));
        return result;
    }
};

/// Copies everything in one piece; the image takes the size in pixels and the row pitch.
/// @throws std::runtime_error  "image size does not match" when the source has another number of rows, or
///                             shorter ones; the image stays as it is then
void copyWhole(
    const MappedImage& source, std::uint64_t width, std::uint64_t height, Graphics::ColorImage& image
);
void copyWhole(
    const MappedImage& source, std::uint64_t width, std::uint64_t height, Graphics::DepthImage& image
);

/// Copies row by row, as many rows and bytes of each as both sides have.
/// @param height    rows of the source
/// @param target    at least rows x rowPitch bytes; nothing is written beyond its end
/// @param rowPitch  bytes from one row of the target to the next
/// @param rows      of the target
void copyRows(
    const MappedImage& source,
    std::uint64_t height,
    std::span<std::byte> target,
    std::uint64_t rowPitch,
    std::uint64_t rows
);
}  // namespace Render
