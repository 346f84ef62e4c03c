#include "render/pano/PanoramaTiles.h"
#include "tests/render/pano/RecordingPanoramaLoader.h"
#include "tests/support/messageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <vector>

using Core::JobState;
using Render::PanoramaTiles;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
class PanoramaTilesLoading : public testing::Test
{
public:
    void makeTiles(std::uint64_t colorLevels, std::uint64_t depthLevels)
    {
        loader = std::make_shared<RecordingPanoramaLoader>(colorLevels, depthLevels);
        tiles = std::make_unique<PanoramaTiles>(loader, [this] { ++frameRequests; });
    }

    /// Loads until so many tiles have come.
    JobState loadUntil(int tileCount)
    {
        std::stop_source stop;
        int count = 0;
        return tiles->load(
            stop.get_token(),
            [&]
            {
                if (++count == tileCount)
                {
                    stop.request_stop();
                }
            }
        );
    }

    std::shared_ptr<RecordingPanoramaLoader> loader;
    std::unique_ptr<PanoramaTiles> tiles;
    std::atomic<int> frameRequests{0};
};
}  // namespace

TEST_F(PanoramaTilesLoading, ALoaderMayGiveUpWithinATile)
{
    class StoppingLoader : public RecordingPanoramaLoader
    {
    public:
        StoppingLoader() : RecordingPanoramaLoader(2, 1) {}

        std::optional<Graphics::ColorImage> fetchColorTile(
            const TileIndex& tile, const std::stop_token& stopToken
        ) override
        {
            stop.request_stop();
            return stopToken.stop_requested() ? std::nullopt : std::optional(colorImageTile(tile));
        }

        std::stop_source stop;
    };

    const auto stopping = std::make_shared<StoppingLoader>();
    PanoramaTiles stopped(stopping, [] {});
    int tileCount = 0;

    EXPECT_EQ(stopped.load(stopping->stop.get_token(), [&] { ++tileCount; }), JobState::Stopped);

    EXPECT_EQ(tileCount, 1);  // of depth
    const PanoramaTiles::Batch batch = stopped.take();
    EXPECT_THAT(batch.depthTiles, SizeIs(1));
    EXPECT_THAT(batch.colorTiles, IsEmpty());
}

TEST_F(PanoramaTilesLoading, WithoutALoaderThereIsNoSource)
{
    PanoramaTiles none(nullptr, [] {});
    EXPECT_EQ(none.state(), JobState::NoSource);

    EXPECT_EQ(none.load(std::stop_token(), nullptr), JobState::NoSource);

    EXPECT_EQ(none.state(), JobState::NoSource);
    EXPECT_EQ(static_cast<int>(none.state()), 4);
}

TEST_F(PanoramaTilesLoading, FetchesDepthBeforeColorAndCoarseBeforeFine)
{
    makeTiles(3, 1);

    EXPECT_EQ(tiles->load(std::stop_token(), nullptr), JobState::Complete);

    EXPECT_THAT(
        loader->fetched(),
        ElementsAre(
            "depth 0: 0, 0",
            "colour 0: 0, 0",
            "colour 1: 0, 0",
            "colour 1: 1, 0",
            "colour 2: 0, 0",
            "colour 2: 1, 0",
            "colour 2: 2, 0",
            "colour 2: 3, 0"
        )
    );
}

TEST_F(PanoramaTilesLoading, DepthMayHaveMoreLevelsThanColor)
{
    makeTiles(1, 2);

    tiles->load(std::stop_token(), nullptr);

    EXPECT_THAT(
        loader->fetched(), ElementsAre("depth 0: 0, 0", "colour 0: 0, 0", "depth 1: 0, 0", "depth 1: 1, 0")
    );
    EXPECT_EQ(tiles->take().depthLevel, 1U);
}

TEST_F(PanoramaTilesLoading, GivesEachTileOnce)
{
    makeTiles(2, 1);
    tiles->load(std::stop_token(), nullptr);

    const PanoramaTiles::Batch batch = tiles->take();

    ASSERT_THAT(batch.colorTiles, SizeIs(3));
    EXPECT_EQ(batch.colorTiles[2].index, (Graphics::PanoramaLoader::TileIndex{1, 1, 0}));
    EXPECT_EQ(batch.colorTiles[2].image.pixel(0, 0), Math::Color(60, 0, 0, 255));
    ASSERT_THAT(batch.depthTiles, SizeIs(1));
    EXPECT_EQ(batch.depthTiles[0].image.pixel(3, 1), 1.0F);
    EXPECT_EQ(batch.colorLevel, 1U);
    EXPECT_EQ(batch.depthLevel, 0U);
    const PanoramaTiles::Batch next = tiles->take();
    EXPECT_THAT(next.colorTiles, IsEmpty());
    EXPECT_THAT(next.depthTiles, IsEmpty());
    EXPECT_EQ(next.colorLevel, 1U);
}

TEST_F(PanoramaTilesLoading, StopsAfterAnyTileWithoutCompletingItsLevel)
{
    struct Row
    {
        int tiles;
        std::uint64_t depthLevel;
        std::uint64_t colorLevel;
    };

    // depth 0: 1 tile, colour 0: 1, depth 1: 2, colour 1: 2, depth 2: 4, colour 2: 4
    for (const Row& row :
         {Row{1, 0, 0},
          Row{2, 0, 0},
          Row{3, 0, 0},
          Row{4, 0, 0},
          Row{5, 1, 0},
          Row{6, 1, 0},
          Row{7, 1, 1},
          Row{10, 1, 1},
          Row{11, 2, 1},
          Row{14, 2, 1}})
    {
        SCOPED_TRACE(row.tiles);
        makeTiles(3, 3);

        EXPECT_EQ(loadUntil(row.tiles), JobState::Stopped);

        EXPECT_EQ(static_cast<int>(tiles->state()), 2);
        EXPECT_THAT(loader->fetched(), SizeIs(row.tiles));
        const PanoramaTiles::Batch batch = tiles->take();
        EXPECT_EQ(batch.depthLevel, row.depthLevel);
        EXPECT_EQ(batch.colorLevel, row.colorLevel);
        EXPECT_EQ(batch.colorTiles.size() + batch.depthTiles.size(), static_cast<std::size_t>(row.tiles));
    }
}

TEST_F(PanoramaTilesLoading, IsRunningWhileItFetches)
{
    makeTiles(1, 1);
    std::vector<JobState> states;
    loader->onFetch = [&](const std::string&) { states.push_back(tiles->state()); };

    tiles->load(std::stop_token(), nullptr);

    EXPECT_THAT(states, ElementsAre(JobState::Running, JobState::Running));
    EXPECT_EQ(static_cast<int>(tiles->state()), 3);
}

TEST_F(PanoramaTilesLoading, RequestsAFrameForEachTileAndForEachCompleteLevel)
{
    makeTiles(2, 1);
    int callbacks = 0;

    tiles->load(
        std::stop_token(),
        [&]
        {
            ++callbacks;
            EXPECT_GE(frameRequests, callbacks);
        }
    );

    EXPECT_EQ(callbacks, 4);
    EXPECT_EQ(frameRequests, 4 + 3);
}

TEST_F(PanoramaTilesLoading, ALevelCountsOnlyTogetherWithItsLastTile)
{
    makeTiles(2, 0);
    std::size_t taken = 0;
    std::uint64_t level = 0;
    const auto takeAll = [&]
    {
        const PanoramaTiles::Batch batch = tiles->take();
        taken += batch.colorTiles.size();
        level = batch.colorLevel;
    };

    tiles->load(
        std::stop_token(),
        [&]
        {
            takeAll();  // on this thread the lock is held already
            EXPECT_EQ(level, 0U);
        }
    );

    takeAll();
    EXPECT_EQ(taken, 3U);
    EXPECT_EQ(level, 1U);
}

TEST_F(PanoramaTilesLoading, ABatchNeverLacksATileOfItsLevels)
{
    makeTiles(8, 0);
    std::thread thread([&] { tiles->load(std::stop_token(), nullptr); });

    std::vector<std::size_t> counts(8);
    bool isLast = false;
    while (!isLast)
    {
        isLast = tiles->state() == JobState::Complete;
        const PanoramaTiles::Batch batch = tiles->take();
        for (const PanoramaTiles::ColorTile& tile : batch.colorTiles)
        {
            ++counts.at(static_cast<std::size_t>(tile.index.level));
        }
        for (std::size_t level = 1; level <= batch.colorLevel; ++level)
        {
            ASSERT_EQ(counts[level], std::size_t{1} << level);
        }
    }
    thread.join();
    EXPECT_EQ(counts[7], 128U);
}

TEST_F(PanoramaTilesLoading, AFailureIsKeptUntilTheNextLoad)
{
    makeTiles(2, 1);
    loader->onFetch = [](const std::string& tile)
    {
        if (tile == "colour 1: 1, 0")
        {
            throw std::runtime_error("broken tile");
        }
    };

    EXPECT_EQ(messageOf<std::runtime_error>([&] { tiles->load(std::stop_token(), nullptr); }), "broken tile");

    EXPECT_EQ(tiles->state(), JobState::Failed);
    EXPECT_EQ(messageOf<std::runtime_error>([&] { std::rethrow_exception(tiles->error()); }), "broken tile");
    EXPECT_THAT(tiles->take().colorTiles, SizeIs(2));
    loader->onFetch = nullptr;
    EXPECT_EQ(tiles->load(std::stop_token(), nullptr), JobState::Complete);
    EXPECT_FALSE(tiles->error());
}

TEST_F(PanoramaTilesLoading, TilesLargerThanTheirLevelsAreErrors)
{
    /// Tiles larger than it says.
    class Ragged : public RecordingPanoramaLoader
    {
    public:
        using RecordingPanoramaLoader::RecordingPanoramaLoader;

        std::uint64_t tileWidth(std::uint64_t) const override { return 3; }
    };

    PanoramaTiles ragged(std::make_shared<Ragged>(1, 0), [] {});

    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { ragged.load(std::stop_token(), nullptr); }),
        "Error: panorama tile 0, 0 of level 0 has 4 x 2 pixels, more than 3 x 2"
    );
}

TEST_F(PanoramaTilesLoading, TilesOfAnotherLevelAreErrors)
{
    class Confused : public RecordingPanoramaLoader
    {
    public:
        using RecordingPanoramaLoader::RecordingPanoramaLoader;

        std::vector<TileIndex> tileIndices(std::uint64_t) const override { return {{7, 0, 0}}; }
    };

    PanoramaTiles confused(std::make_shared<Confused>(1, 0), [] {});

    EXPECT_EQ(
        messageOf<std::runtime_error>([&] { confused.load(std::stop_token(), nullptr); }),
        "Error: panorama tile 0, 0 of level 0 is said to be of level 7"
    );
}

TEST_F(PanoramaTilesLoading, AnAnnouncedLoadIsRunningUntilItIsWithdrawn)
{
    makeTiles(1, 1);
    tiles->announceLoad();
    EXPECT_EQ(tiles->state(), JobState::Running);

    tiles->withdrawLoad();
    EXPECT_EQ(tiles->state(), JobState::Stopped);

    tiles->load(std::stop_token(), nullptr);
    tiles->withdrawLoad();
    EXPECT_EQ(tiles->state(), JobState::Complete);
}

TEST_F(PanoramaTilesLoading, WhatWasTakenCanBeForgotten)
{
    makeTiles(2, 2);
    tiles->load(std::stop_token(), nullptr);
    tiles->take();

    EXPECT_TRUE(tiles->forgetTaken());

    const PanoramaTiles::Batch batch = tiles->take();
    EXPECT_EQ(batch.colorLevel, 0U);
    EXPECT_EQ(batch.depthLevel, 0U);
    EXPECT_FALSE(tiles->forgetTaken());
}

TEST_F(PanoramaTilesLoading, WhatIsPendingIsNotForgotten)
{
    makeTiles(2, 2);
    tiles->load(std::stop_token(), nullptr);

    EXPECT_FALSE(tiles->forgetTaken());

    const PanoramaTiles::Batch batch = tiles->take();
    EXPECT_EQ(batch.colorLevel, 1U);
    EXPECT_FALSE(batch.colorTiles.empty());
}

TEST_F(PanoramaTilesLoading, WhatIsGivenBackComesFirstInTheNextBatch)
{
    makeTiles(1, 1);
    tiles->load(std::stop_token(), nullptr);
    PanoramaTiles::Batch first = tiles->take();
    const std::size_t colorCount = first.colorTiles.size();
    const auto firstIndex = first.colorTiles.front().index;
    tiles->load(std::stop_token(), nullptr);

    tiles->giveBack(std::move(first));

    const PanoramaTiles::Batch batch = tiles->take();
    EXPECT_EQ(batch.colorTiles.size(), 2 * colorCount);
    EXPECT_EQ(batch.colorTiles.front().index.column, firstIndex.column);
    EXPECT_EQ(batch.colorTiles.front().index.row, firstIndex.row);
    EXPECT_FALSE(batch.colorTiles.front().image.empty());
}
