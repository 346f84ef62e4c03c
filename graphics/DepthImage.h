#pragma once

#include "graphics/Export.h"
#include "graphics/Image.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace Graphics
{
/// A picture of one 32-bit float per pixel.
class GRAPHICS_API DepthImage : public Image<float>
{
public:
    using Image::Image;

    /// Writes a 16-bit grey PNG in which value v in [0, 1] becomes round(v x 65535); values outside clamp,
    /// NaN is 0. The file appears under its name only when it is complete.
    /// @throws std::runtime_error  naming the path and the reason
    void writePng(const std::filesystem::path& path) const;
};

/// The raw values of a 16-bit grey PNG, row by row without padding.
struct Gray16Image
{
    std::uint32_t width = 0;            ///< pixels
    std::uint32_t height = 0;           ///< pixels
    std::vector<std::uint16_t> values;  ///< width x height of them
};

/// Reads a 16-bit grey PNG without any conversion of its values.
/// @throws std::runtime_error  naming the path when it is broken, too large, or of another colour type or
///                             depth
GRAPHICS_API Gray16Image readGray16Png(const std::filesystem::path& path);

/// Writes a 16-bit grey PNG.
/// @throws std::runtime_error  naming the path and the reason
GRAPHICS_API void writeGray16Png(
    const std::filesystem::path& path,
    std::uint32_t width,
    std::uint32_t height,
    std::span<const std::uint16_t> values
);
}  // namespace Graphics
