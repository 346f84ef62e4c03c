#pragma once

#include "graphics/PanoramaLoader.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

/// A panorama made up by the test, which writes down what is fetched of it.
///
/// Level n is 2^n tiles wide and one tile high, or as the test sets it; a tile is 4 x 2 pixels.
class RecordingPanoramaLoader : public Graphics::PanoramaLoader
{
public:
    RecordingPanoramaLoader(std::uint64_t colorLevels, std::uint64_t depthLevels)
        : mColorLevels(colorLevels), mDepthLevels(depthLevels)
    {
    }

    std::uint64_t numColorLevels() const override { return mColorLevels; }

    std::uint64_t numDepthLevels() const override { return mDepthLevels; }

    std::uint64_t width(std::uint64_t level) const override { return columnCount(level) * tileColumns; }

    std::uint64_t height(std::uint64_t /*level*/) const override { return tileRows; }

    std::uint64_t tileWidth(std::uint64_t /*level*/) const override { return tileColumns; }

    std::uint64_t tileHeight(std::uint64_t /*level*/) const override { return tileRows; }

    std::vector<TileIndex> tileIndices(std::uint64_t level) const override
    {
        std::vector<TileIndex> tiles;
        for (std::uint64_t column = 0; column < columnCount(level); ++column)
        {
            tiles.push_back({level, column, 0});
        }
        return tiles;
    }

    std::uint64_t tileOffsetX(const TileIndex& tile) const override { return tile.column * tileColumns; }

    std::uint64_t tileOffsetY(const TileIndex& /*tile*/) const override { return 0; }

    Graphics::ColorImage colorImageTile(const TileIndex& tile) override
    {
        record("colour", tile);
        Graphics::ColorImage image(tileColumns, tileRows);
        for (std::uint64_t y = 0; y < tileRows; ++y)
        {
            for (std::uint64_t x = 0; x < tileColumns; ++x)
            {
                image.setPixel(x, y, colorAt(tile.level, tileOffsetX(tile) + x, y));
            }
        }
        return image;
    }

    Graphics::DepthImage depthImageTile(const TileIndex& tile) override
    {
        record("depth", tile);
        Graphics::DepthImage image(tileColumns, tileRows);
        for (std::uint64_t y = 0; y < tileRows; ++y)
        {
            for (std::uint64_t x = 0; x < tileColumns; ++x)
            {
                image.setPixel(x, y, depthAt(tile.level, tileOffsetX(tile) + x, y));
            }
        }
        return image;
    }

    /// What has been fetched, such as "depth 0: 0, 0".
    std::vector<std::string> fetched() const
    {
        const std::scoped_lock lock(mMutex);
        return mFetched;
    }

    std::uint64_t tileColumns = 4;
    std::uint64_t tileRows = 2;
    std::uint64_t firstColumnCount = 1;

    /// Colour and distance of a pixel of a level.
    std::function<Math::Color(std::uint64_t level, std::uint64_t x, std::uint64_t y)> colorAt =
        [](std::uint64_t level, std::uint64_t, std::uint64_t)
    { return Math::Color(static_cast<unsigned char>(10 + 50 * level), 0, 0, 255); };
    std::function<float(std::uint64_t level, std::uint64_t x, std::uint64_t y)> depthAt =
        [](std::uint64_t level, std::uint64_t, std::uint64_t) { return 1.0F + static_cast<float>(level); };

    /// Called at the begin of every fetch; may throw.
    std::function<void(const std::string& tile)> onFetch;

private:
    std::uint64_t columnCount(std::uint64_t level) const { return firstColumnCount << level; }

    void record(const std::string& kind, const TileIndex& tile)
    {
        const std::string text = kind + " " + std::to_string(tile.level) + ": " +
                                 std::to_string(tile.column) + ", " + std::to_string(tile.row);
        {
            const std::scoped_lock lock(mMutex);
            mFetched.push_back(text);
        }
        if (onFetch)
        {
            onFetch(text);
        }
    }

    std::uint64_t mColorLevels;
    std::uint64_t mDepthLevels;
    mutable std::mutex mMutex;  // guards mFetched
    std::vector<std::string> mFetched;
};
