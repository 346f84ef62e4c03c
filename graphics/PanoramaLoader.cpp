#include "graphics/PanoramaLoader.h"

namespace Graphics
{
PanoramaLoader::~PanoramaLoader() = default;

std::optional<ColorImage> PanoramaLoader::fetchColorTile(const TileIndex& tile, const std::stop_token&)
{
    return colorImageTile(tile);
}

std::optional<DepthImage> PanoramaLoader::fetchDepthTile(const TileIndex& tile, const std::stop_token&)
{
    return depthImageTile(tile);
}
}  // namespace Graphics
