#pragma once

#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "graphics/Export.h"

#include <cstdint>
#include <optional>
#include <stop_token>
#include <vector>

namespace Graphics
{
/// Where the colour and depth tiles of a panorama come from. Level 0 is the coarsest of both pyramids.
///
/// Threads  the const operations from any thread; the tile fetches from one thread at a time.
class GRAPHICS_API PanoramaLoader
{
public:
    /// One tile of one level.
    struct TileIndex
    {
        std::uint64_t level = 0;   ///< 0 is the coarsest
        std::uint64_t column = 0;  ///< 0 is on the left
        std::uint64_t row = 0;     ///< 0 is at the top

        friend bool operator==(const TileIndex&, const TileIndex&) = default;
    };

    PanoramaLoader() = default;
    virtual ~PanoramaLoader();
    PanoramaLoader(const PanoramaLoader&) = delete;
    PanoramaLoader& operator=(const PanoramaLoader&) = delete;

    /// Number of levels that have colours, or depths; level 0 is the coarsest.
    virtual std::uint64_t numColorLevels() const = 0;
    virtual std::uint64_t numDepthLevels() const = 0;

    /// Size of a level in pixels, shared by colour and depth.
    virtual std::uint64_t width(std::uint64_t level) const = 0;
    virtual std::uint64_t height(std::uint64_t level) const = 0;

    /// Size of every tile of a level in pixels.
    virtual std::uint64_t tileWidth(std::uint64_t level) const = 0;
    virtual std::uint64_t tileHeight(std::uint64_t level) const = 0;

    /// The tiles of a level in the order in which they are to be loaded.
    virtual std::vector<TileIndex> tileIndices(std::uint64_t level) const = 0;

    /// Pixel position of the tile's upper left corner in its level.
    virtual std::uint64_t tileOffsetX(const TileIndex& tile) const = 0;
    virtual std::uint64_t tileOffsetY(const TileIndex& tile) const = 0;

    /// Fetches one tile; blocks while it is read.
    /// @throws std::runtime_error  naming the file and what is wrong with it
    virtual ColorImage colorImageTile(const TileIndex& tile) = 0;
    virtual DepthImage depthImageTile(const TileIndex& tile) = 0;

    /// The same, but a stop request ends it within the tile; nothing then. A loader that does not override
    /// these fetches the whole tile whatever is requested.
    virtual std::optional<ColorImage> fetchColorTile(const TileIndex& tile, const std::stop_token& stopToken);
    virtual std::optional<DepthImage> fetchDepthTile(const TileIndex& tile, const std::stop_token& stopToken);
};
}  // namespace Graphics
