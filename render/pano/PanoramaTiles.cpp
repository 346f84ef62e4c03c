#include "render/pano/PanoramaTiles.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

namespace Render
{
using Core::JobState;
using Graphics::PanoramaLoader;

PanoramaTiles::PanoramaTiles(std::shared_ptr<PanoramaLoader> loader, std::function<void()> requestFrame)
    : mLoader(std::move(loader)), mRequestFrame(std::move(requestFrame))
{
}

JobState PanoramaTiles::load(std::stop_token stopToken, const std::function<void()>& onTile)
{
    announceLoad();
    if (!mLoader)
    {
        return mState;
    }
    try
    {
        mState = loadLevels(stopToken, onTile) ? JobState::Complete : JobState::Stopped;
    }
    catch (...)
    {
        const std::scoped_lock lock(mMutex);
        mError = std::current_exception();
        mState = JobState::Failed;
        throw;
    }
    return mState;
}

void PanoramaTiles::announceLoad()
{
    const std::scoped_lock lock(mMutex);
    mError = nullptr;
    mState = mLoader ? JobState::Running : JobState::NoSource;
}

void PanoramaTiles::withdrawLoad()
{
    JobState expected = JobState::Running;
    mState.compare_exchange_strong(expected, JobState::Stopped);
}

bool PanoramaTiles::loadLevels(const std::stop_token& stopToken, const std::function<void()>& onTile)
{
    const auto fetchDepth = [&](const PanoramaLoader::TileIndex& index)
    { return mLoader->fetchDepthTile(index, stopToken); };
    const auto fetchColor = [&](const PanoramaLoader::TileIndex& index)
    { return mLoader->fetchColorTile(index, stopToken); };

    const std::uint64_t depthLevelCount = mLoader->numDepthLevels();
    const std::uint64_t colorLevelCount = mLoader->numColorLevels();
    for (std::uint64_t level = 0; level < std::max(depthLevelCount, colorLevelCount); ++level)
    {
        if (level < depthLevelCount &&
            !loadLevel(level, &Batch::depthTiles, &Batch::depthLevel, fetchDepth, stopToken, onTile))
        {
            return false;
        }
        if (level < colorLevelCount &&
            !loadLevel(level, &Batch::colorTiles, &Batch::colorLevel, fetchColor, stopToken, onTile))
        {
            return false;
        }
    }
    return true;
}

template <class Tile, class Fetch>
bool PanoramaTiles::loadLevel(
    std::uint64_t level,
    std::vector<Tile> Batch::*tiles,
    std::uint64_t Batch::*completeLevel,
    const Fetch& fetch,
    const std::stop_token& stopToken,
    const std::function<void()>& onTile
)
{
    for (const PanoramaLoader::TileIndex& index : mLoader->tileIndices(level))
    {
        auto image = fetch(index);
        if (!image)
        {
            return false;
        }
        check(level, index, image->width(), image->height());
        {
            const std::scoped_lock lock(mMutex);
            (mPending.*tiles).push_back({index, *std::move(image)});
            mRequestFrame();
            if (onTile)
            {
                onTile();
            }
        }
        if (stopToken.stop_requested())
        {
            return false;
        }
    }
    const std::scoped_lock lock(mMutex);
    mPending.*completeLevel = level;
    mRequestFrame();  // the last tile may have been taken before the level counted as complete
    return true;
}

void PanoramaTiles::check(
    std::uint64_t level, const PanoramaLoader::TileIndex& index, std::uint64_t width, std::uint64_t height
) const
{
    const auto fail = [&](const std::string& reason)
    {
        throw std::runtime_error(
            "Error: panorama tile " + std::to_string(index.column) + ", " + std::to_string(index.row) +
            " of level " + std::to_string(level) + " " + reason
        );
    };
    if (index.level != level)
    {
        fail("is said to be of level " + std::to_string(index.level));
    }
    const std::uint64_t tileWidth = mLoader->tileWidth(level);
    const std::uint64_t tileHeight = mLoader->tileHeight(level);
    if (width > tileWidth || height > tileHeight)
    {
        fail(
            "has " + std::to_string(width) + " x " + std::to_string(height) + " pixels, more than " +
            std::to_string(tileWidth) + " x " + std::to_string(tileHeight)
        );
    }
}

std::exception_ptr PanoramaTiles::error() const
{
    const std::scoped_lock lock(mMutex);
    return mError;
}

PanoramaTiles::Batch PanoramaTiles::take()
{
    const std::scoped_lock lock(mMutex);
    mHasGiven |= !mPending.colorTiles.empty() || !mPending.depthTiles.empty();
    return std::exchange(mPending, Batch{{}, {}, mPending.colorLevel, mPending.depthLevel});
}

void PanoramaTiles::giveBack(Batch batch)
{
    const std::scoped_lock lock(mMutex);
    const auto append = [](auto& tiles, auto& more) {
        tiles.insert(tiles.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    };
    append(batch.colorTiles, mPending.colorTiles);
    append(batch.depthTiles, mPending.depthTiles);
    mPending.colorTiles = std::move(batch.colorTiles);
    mPending.depthTiles = std::move(batch.depthTiles);
    mRequestFrame();
}

bool PanoramaTiles::forgetTaken()
{
    const std::scoped_lock lock(mMutex);
    if (mHasGiven)
    {
        mPending = Batch();
    }
    return std::exchange(mHasGiven, false);
}
}  // namespace Render
