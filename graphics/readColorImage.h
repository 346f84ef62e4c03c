#pragma once

#include "graphics/ColorImage.h"
#include "graphics/Export.h"

#include <filesystem>

namespace Graphics
{
/// Reads a PNG, or a JPEG whose name ends in .jpg or .jpeg.
///
/// Threads  any.
/// @throws std::runtime_error  naming the path and what is wrong; sizes are checked before memory is taken
GRAPHICS_API ColorImage readColorImage(const std::filesystem::path& path);
}  // namespace Graphics
