#pragma once

#include "core/JobState.h"
#include "core/NonCopyable.h"
#include "graphics/ColorImage.h"
#include "graphics/DepthImage.h"
#include "graphics/PanoramaLoader.h"
#include "render/Export.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <vector>

namespace Render
{
/// The tiles of a panorama on their way from the loader to the textures: fetched level by level, coarse to
/// fine, and kept until they are taken.
///
/// Threads  load() on one thread at a time; everything else on any thread.
class RENDER_API PanoramaTiles : private Core::NonCopyable
{
public:
    struct ColorTile
    {
        Graphics::PanoramaLoader::TileIndex index;
        Graphics::ColorImage image;
    };

    struct DepthTile
    {
        Graphics::PanoramaLoader::TileIndex index;
        Graphics::DepthImage image;
    };

    /// What has been fetched since the last take(), and the finest levels of which, with these tiles,
    /// everything has been taken; 0 as well while none is complete.
    struct Batch
    {
        std::vector<ColorTile> colorTiles;
        std::vector<DepthTile> depthTiles;
        std::uint64_t colorLevel = 0;
        std::uint64_t depthLevel = 0;
    };

    /// @param loader       may be empty
    /// @param requestFrame  called whenever take() has something new to give, on the thread of load()
    PanoramaTiles(std::shared_ptr<Graphics::PanoramaLoader> loader, std::function<void()> requestFrame);

    /// Fetches all tiles, of each level those of depth before those of colour.
    /// @param onTile  called after each tile, while the tiles are locked; may be empty
    /// @returns       NoSource without a loader, Stopped after a stop request, which is looked at after each
    ///                tile and by loaders within one, otherwise Complete
    /// @throws        what the loader throws, and std::runtime_error for a tile of another level or larger
    /// than
    ///                the tiles of its level; the state then is Failed and the error kept
    Core::JobState load(std::stop_token stopToken, const std::function<void()>& onTile);

    /// Before a load() on another thread: from here on the state is Running, and the last error forgotten.
    /// Without a loader it is NoSource.
    void announceLoad();

    /// The load() that was announced has not come about, or was stopped.
    void withdrawLoad();

    Core::JobState state() const noexcept { return mState; }

    /// Why the last load() failed; empty if it did not.
    std::exception_ptr error() const;

    /// Hands over what is pending.
    Batch take();

    /// Lets the next batch begin with what could not be used of an earlier one.
    void giveBack(Batch batch);

    /// What was taken is lost, and nothing is pending any more; the next batch begins with level 0 again.
    /// @returns  whether anything had been taken
    bool forgetTaken();

    Graphics::PanoramaLoader* loader() const noexcept { return mLoader.get(); }

private:
    bool loadLevels(const std::stop_token& stopToken, const std::function<void()>& onTile);
    template <class Tile, class Fetch>
    bool loadLevel(
        std::uint64_t level,
        std::vector<Tile> Batch::*tiles,
        std::uint64_t Batch::*completeLevel,
        const Fetch& fetch,
        const std::stop_token& stopToken,
        const std::function<void()>& onTile
    );
    void check(
        std::uint64_t level,
        const Graphics::PanoramaLoader::TileIndex& index,
        std::uint64_t width,
        std::uint64_t height
    ) const;

    const std::shared_ptr<Graphics::PanoramaLoader> mLoader;
    const std::function<void()> mRequestFrame;
    std::atomic<Core::JobState> mState{mLoader ? Core::JobState::NotStarted : Core::JobState::NoSource};

    mutable std::recursive_mutex mMutex;  // guards what follows; recursive, since onTile may take()
    Batch mPending;
    bool mHasGiven = false;  // something has been taken
    std::exception_ptr mError;
};
}  // namespace Render
