#pragma once

#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "graphics/Export.h"
#include "graphics/PanoramaDescription.h"

#include <cstdint>
#include <filesystem>
#include <functional>

namespace Graphics
{
/// Told how many of how many tiles are written.
using TilesWritten = std::function<void(std::uint64_t done, std::uint64_t all)>;

/// Writes a panorama folder from two whole pictures, for DeepZoomPanoramaLoader and any viewer of Deep Zoom
/// pyramids to read.
///
/// Colours are averaged from level to level. Depths never are: of four the nearest that was measured stays,
/// so thin things keep their place. A depth picture that is as large as a coarser level of the colours makes
/// a pyramid that ends there; any other is brought to the size of the colours by taking the nearest pixel.
/// panorama.json comes last, so a folder that has it is whole.
///
/// Threads  any.
/// @param folder       made if it is missing; files of the same names are replaced
/// @param tileSize     1 to 4096 pixels
/// @param description  its paths name where the pyramids go
/// @param written      called after each tile, on this thread; may be empty
/// @throws std::invalid_argument  for pictures without pixels or of more than 16384 on a side, or another
///                                tile size
/// @throws std::runtime_error     naming the file that cannot be written
GRAPHICS_API void writePanorama(
    const std::filesystem::path& folder,
    const ColorImage& color,
    const Gray16Image& depth,
    const PanoramaDescription& description,
    std::uint32_t tileSize,
    const TilesWritten& written = {}
);
}  // namespace Graphics
