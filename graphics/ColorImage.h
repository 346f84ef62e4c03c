#pragma once

#include "graphics/Export.h"
#include "graphics/Image.h"
#include "math/Color.h"

#include <filesystem>

namespace Graphics
{
/// A picture of Math::Color pixels: blue, green, red, alpha in memory.
class GRAPHICS_API ColorImage : public Image<Math::Color>
{
public:
    using Image::Image;

    /// Writes an 8-bit RGBA PNG. The file appears under its name only when it is complete.
    /// @throws std::runtime_error  naming the path and the reason; an older file of that name then stays as
    ///                             it was
    void writePng(const std::filesystem::path& path) const;

    /// Reads a PNG of any colour type and depth, converted to 8-bit RGBA.
    /// @throws std::runtime_error  naming the path and what is wrong; sizes are checked before memory is
    ///                             taken
    static ColorImage readPng(const std::filesystem::path& path);
};
}  // namespace Graphics
