#pragma once

#include "math/Color.h"
#include "octree/Location.h"
#include "render/Export.h"

#include <cstdint>
#include <filesystem>

namespace Render
{
/// Renders a point cloud once, off screen, from above at an angle, and writes the picture as
/// folder / "thumbnail.png".
///
/// Threads  any; a renderer of its own lives for the time of the call.
/// @param folder           holds a three-file octree data set
/// @param width, height    of the picture, pixels
/// @param backgroundColor  where no point is
/// @param level            deepest level that is loaded; what no octree can have is lowered to the deepest
/// @throws std::invalid_argument              "createThumbnail: locationPotree does not exist"; for no width
///                                            or height
/// @throws std::filesystem::filesystem_error  ("exists" or "remove") naming the path
/// @throws std::runtime_error                 naming the file that is broken or cannot be written
/// @throws ComException                       when there is no Direct3D device or it fails
RENDER_API void createThumbnail(
    const std::filesystem::path& folder,
    std::uint64_t width,
    std::uint64_t height,
    const Math::Color& backgroundColor,
    std::uint64_t level
);

/// The same for a data set of any kind; an older file at the output path is replaced.
RENDER_API void createThumbnail(
    const Octree::Location& location,
    const std::filesystem::path& outputPath,
    std::uint64_t width,
    std::uint64_t height,
    const Math::Color& backgroundColor,
    std::uint64_t level
);
}  // namespace Render
