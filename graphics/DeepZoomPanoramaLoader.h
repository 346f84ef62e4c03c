#pragma once

#include "graphics/Export.h"
#include "graphics/PanoramaLoader.h"
#include "graphics/PictureLimits.h"
#include "math/eigenAlignment.h"

#include <Eigen/Core>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace Core
{
class ByteFolder;
}

namespace Graphics
{
/// A panorama in a folder, a local one or another: panorama.json and two Deep Zoom pyramids, colour as PNG or
/// JPEG tiles, depth as PNG tiles of 16-bit grey.
///
/// Depth codes become metres along the ray, those that say that nothing was measured the largest float. Level
/// 0 is the coarsest that fills a tile. All tiles are whole: those of the last column and row end at the
/// level's border and overlap their neighbours, and a level that is smaller than a tile is one of its own
/// size.
///
/// Threads  as its base says.
class GRAPHICS_API DeepZoomPanoramaLoader : public PanoramaLoader
{
public:
    /// Reads the descriptions, no tile.
    /// @throws std::runtime_error  naming the file and what is wrong: descriptions that are broken, levels of
    ///                             the two pyramids that differ in size, are too large, or have no folder
    explicit DeepZoomPanoramaLoader(const std::filesystem::path& folder);

    /// The same for files that need not be local.
    /// @param files  not null
    explicit DeepZoomPanoramaLoader(std::shared_ptr<const Core::ByteFolder> files);
    ~DeepZoomPanoramaLoader() override;

    std::uint64_t numColorLevels() const override;
    std::uint64_t numDepthLevels() const override;
    std::uint64_t width(std::uint64_t level) const override;
    std::uint64_t height(std::uint64_t level) const override;
    std::uint64_t tileWidth(std::uint64_t level) const override;
    std::uint64_t tileHeight(std::uint64_t level) const override;
    std::vector<TileIndex> tileIndices(std::uint64_t level) const override;
    std::uint64_t tileOffsetX(const TileIndex& tile) const override;
    std::uint64_t tileOffsetY(const TileIndex& tile) const override;

    /// @throws std::out_of_range  for a tile that the pyramid does not have
    ColorImage colorImageTile(const TileIndex& tile) override;
    DepthImage depthImageTile(const TileIndex& tile) override;
    std::optional<ColorImage> fetchColorTile(const TileIndex& tile, const std::stop_token& stopToken)
        override;
    std::optional<DepthImage> fetchDepthTile(const TileIndex& tile, const std::stop_token& stopToken)
        override;

    /// From the panorama's frame to that of its surroundings.
    const Eigen::Matrix4d& pose() const noexcept;

private:
    struct Implementation;

    const std::unique_ptr<Implementation> mImplementation;
};
}  // namespace Graphics
