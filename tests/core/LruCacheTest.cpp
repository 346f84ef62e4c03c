#include "core/LruCache.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <random>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace
{
using Points = std::vector<int>;
using PointCache = Core::LruCache<int, Points>;
using NodeCache = Core::LruCache<int, std::shared_ptr<int>>;

/// A loader of an entry of some weight, all elements alike.
auto loads(std::size_t weight, int element = 0)
{
    return [weight, element](Points& out, const std::stop_token&)
    {
        out.assign(weight, element);
        return true;
    };
}

template <class Value>
bool failsToLoad(Value&, const std::stop_token&)
{
    return false;
}

bool put(PointCache& cache, int key, std::size_t weight)
{
    Points out;
    return cache.getOrLoad(key, out, loads(weight), {}) && out.size() == weight;
}

bool put(NodeCache& cache, int key)
{
    std::shared_ptr<int> out;
    const auto loader = [key](std::shared_ptr<int>& value, const std::stop_token&)
    {
        value = std::make_shared<int>(key);
        return true;
    };
    return cache.getOrLoad(key, out, loader, {}) && *out == key;
}

TEST(LruCache, RefusesACapacityOfZero)
{
    EXPECT_EQ(
        messageOf<std::invalid_argument>([] { PointCache(0, 10); }), "Size of the cache should be non-zero"
    );
}

TEST(LruCache, StartsEmpty)
{
    const PointCache cache(1000, 4);

    EXPECT_EQ(cache.capacity(), 1000U);
    EXPECT_EQ(cache.size(), 0U);
    EXPECT_EQ(cache.weight(), 0U);
    EXPECT_FALSE(cache.contains(1));
}

TEST(LruCache, GetOfAnAbsentKeyThrows)
{
    PointCache cache(1000, 4);

    EXPECT_EQ(messageOf<std::invalid_argument>([&] { cache.get(1); }), "Error: Key is not in cache");
}

TEST(LruCache, LoadsAMissingEntryAndThenServesIt)
{
    PointCache cache(1000, 4);
    Points loaded;
    Points served;

    EXPECT_TRUE(cache.getOrLoad(1, loaded, loads(3, 42), {}));
    EXPECT_TRUE(cache.getOrLoad(1, served, failsToLoad<Points>, {}));

    EXPECT_EQ(loaded, Points(3, 42));
    EXPECT_EQ(served, Points(3, 42));
    EXPECT_EQ(cache.get(1), Points(3, 42));
    EXPECT_EQ(cache.weight(), 3U);
}

TEST(LruCache, ServesAHitEvenWhenAStopIsRequested)
{
    PointCache cache(1000, 4);
    put(cache, 1, 3);
    std::stop_source stopped;
    stopped.request_stop();
    Points out;

    EXPECT_TRUE(cache.getOrLoad(1, out, failsToLoad<Points>, stopped.get_token()));
    EXPECT_EQ(out.size(), 3U);
}

TEST(LruCache, OfSharedObjectsCountsEntries)
{
    NodeCache cache(1, 4);

    put(cache, 1);
    put(cache, 2);

    EXPECT_FALSE(cache.contains(1));
    EXPECT_TRUE(cache.contains(2));
    EXPECT_EQ(cache.weight(), 1U);
    EXPECT_EQ(messageOf<std::invalid_argument>([&] { cache.get(1); }), "Error: Key is not in cache");
}

TEST(LruCache, EvictsTheLeastRecentlyUsedAndOnlyAsManyAsNeeded)
{
    PointCache cache(1000, 4);
    put(cache, 600, 600);
    put(cache, 300, 300);

    put(cache, 200, 200);

    EXPECT_FALSE(cache.contains(600));
    EXPECT_TRUE(cache.contains(300));
    EXPECT_TRUE(cache.contains(200));
    EXPECT_EQ(cache.weight(), 500U);
}

TEST(LruCache, EvictsAgainUntilTheNewEntryFits)
{
    PointCache cache(1000, 4);
    put(cache, 300, 300);
    put(cache, 600, 600);

    put(cache, 500, 500);

    EXPECT_FALSE(cache.contains(300));  // 400 were free then
    EXPECT_FALSE(cache.contains(600));
    EXPECT_EQ(cache.weight(), 500U);
}

TEST(LruCache, EvictsNothingForAnEntryThatFitsExactly)
{
    PointCache cache(1000, 4);
    put(cache, 1, 600);

    put(cache, 2, 400);

    EXPECT_EQ(cache.size(), 2U);
    EXPECT_EQ(cache.weight(), 1000U);
}

TEST(LruCache, KeepsAnEntryHeavierThanItselfAlone)
{
    PointCache cache(1000, 4);
    put(cache, 1, 600);
    put(cache, 2, 300);

    EXPECT_TRUE(put(cache, 3, 1500));

    EXPECT_EQ(cache.size(), 1U);
    EXPECT_TRUE(cache.contains(3));
    EXPECT_EQ(cache.weight(), 1500U);
}

TEST(LruCache, EvictsNothingWhileItIsOverItsCapacity)
{
    PointCache cache(1000, 4);
    put(cache, 1, 1500);

    put(cache, 2, 200);
    put(cache, 3, 900);

    EXPECT_EQ(cache.size(), 3U);
    EXPECT_EQ(cache.weight(), 2600U);
}

TEST(LruCache, AHitMovesTheEntryToTheFront)
{
    PointCache cache(2, 4);
    put(cache, 'A', 1);
    put(cache, 'B', 1);

    cache.get('A');
    put(cache, 'C', 1);

    EXPECT_TRUE(cache.contains('A'));
    EXPECT_FALSE(cache.contains('B'));
    EXPECT_TRUE(cache.contains('C'));
}

TEST(LruCache, AHitOfGetOrLoadMovesTheEntryToTheFront)
{
    PointCache cache(2, 4);
    put(cache, 'A', 1);
    put(cache, 'B', 1);

    put(cache, 'A', 1);
    put(cache, 'C', 1);

    EXPECT_TRUE(cache.contains('A'));
    EXPECT_FALSE(cache.contains('B'));
}

TEST(LruCache, AskingWhetherAKeyIsThereDoesNotMoveIt)
{
    PointCache cache(2, 4);
    put(cache, 'A', 1);
    put(cache, 'B', 1);

    EXPECT_TRUE(cache.contains('A'));
    put(cache, 'C', 1);

    EXPECT_FALSE(cache.contains('A'));
}

TEST(LruCache, AFailingLoaderLeavesItUnchanged)
{
    PointCache cache(10, 4);
    put(cache, 1, 10);
    Points out{1, 2, 3};

    EXPECT_FALSE(cache.getOrLoad(2, out, failsToLoad<Points>, {}));

    EXPECT_TRUE(cache.contains(1));
    EXPECT_FALSE(cache.contains(2));
    EXPECT_EQ(cache.weight(), 10U);
    EXPECT_EQ(out, (Points{1, 2, 3}));
}

TEST(LruCache, AStopRequestedWhileLoadingLeavesItUnchanged)
{
    PointCache cache(10, 4);
    std::stop_source source;
    const auto stopsWhileLoading = [&source](Points& value, const std::stop_token&)
    {
        value.assign(3, 0);
        source.request_stop();
        return true;
    };
    Points out;

    EXPECT_FALSE(cache.getOrLoad(1, out, stopsWhileLoading, source.get_token()));

    EXPECT_EQ(cache.size(), 0U);
    EXPECT_EQ(cache.weight(), 0U);
    EXPECT_TRUE(out.empty());
}

TEST(LruCache, AValueThatMayNotBeKeptGoesToTheCallerAlone)
{
    PointCache cache(10, 10);
    put(cache, 1, 10);
    Points out;

    EXPECT_TRUE(cache.getOrLoad(2, out, loads(3, 7), [] { return false; }, {}));

    EXPECT_EQ(out, (Points{7, 7, 7}));
    EXPECT_FALSE(cache.contains(2));
    EXPECT_TRUE(cache.contains(1));
    EXPECT_EQ(cache.weight(), 10U);
}

TEST(LruCache, WhetherAValueMayBeKeptIsAskedWhenItIsLoaded)
{
    PointCache cache(10, 10);
    bool isLoaded = false;
    const auto load = [&](Points& out, const std::stop_token&)
    {
        out.assign(2, 0);
        isLoaded = true;
        return true;
    };
    bool wasLoaded = false;
    Points out;

    EXPECT_TRUE(cache.getOrLoad(1, out, load, [&] { return wasLoaded = isLoaded; }, {}));

    EXPECT_TRUE(wasLoaded);
    EXPECT_TRUE(cache.contains(1));
}

TEST(LruCache, AThrowingLoaderLeavesItUnchanged)
{
    PointCache cache(10, 4);
    const auto throws = [](Points&, const std::stop_token&) -> bool
    { throw std::runtime_error("broken file"); };
    Points out;

    EXPECT_THROW(cache.getOrLoad(1, out, throws, {}), std::runtime_error);

    EXPECT_EQ(cache.size(), 0U);
    EXPECT_TRUE(put(cache, 1, 2));
}

TEST(LruCache, HandsTheStopTokenToTheLoader)
{
    PointCache cache(10, 4);
    const std::stop_source source;
    bool isSame = false;
    const auto looksAtToken = [&](Points&, const std::stop_token& token)
    {
        isSame = token == source.get_token();
        return true;
    };
    Points out;

    cache.getOrLoad(1, out, looksAtToken, source.get_token());

    EXPECT_TRUE(isSame);
}

TEST(LruCache, LoaderMayUseTheCacheItself)
{
    PointCache cache(10, 4);
    const auto loadsParentFirst = [&cache](Points& value, const std::stop_token& token)
    {
        Points parent;
        cache.getOrLoad(1, parent, loads(2, 5), token);
        value = parent;
        value.push_back(6);
        return true;
    };
    Points out;

    EXPECT_TRUE(cache.getOrLoad(2, out, loadsParentFirst, {}));

    EXPECT_EQ(out, (Points{5, 5, 6}));
    EXPECT_EQ(cache.size(), 2U);
}

TEST(LruCache, ClearDropsEverything)
{
    PointCache cache(10, 4);
    put(cache, 1, 4);
    put(cache, 2, 4);

    cache.clear();

    EXPECT_EQ(cache.size(), 0U);
    EXPECT_EQ(cache.weight(), 0U);
    EXPECT_TRUE(put(cache, 1, 10));
}

TEST(LruCache, ReleasesTheValueOfAnEvictedEntry)
{
    NodeCache cache(1, 4);
    put(cache, 1);
    const std::weak_ptr<int> watched = cache.get(1);

    put(cache, 2);

    EXPECT_TRUE(watched.expired());
}

TEST(LruCache, KeepsTheFirstOfTwoValuesLoadedAtOnceForAKey)
{
    PointCache cache(100, 4);
    Rendezvous bothLoad(2);
    Semaphore firstIsIn;
    Points slowResult;
    bool slowSucceeded = false;
    std::thread slow(
        [&]
        {
            const auto loader = [&](Points& value, const std::stop_token&)
            {
                bothLoad.arriveAndWait();
                firstIsIn.acquire();
                value.assign(7, 2);
                return true;
            };
            slowSucceeded = cache.getOrLoad(1, slowResult, loader, {});
        }
    );

    Points fastResult;
    const auto loader = [&](Points& value, const std::stop_token&)
    {
        bothLoad.arriveAndWait();
        value.assign(3, 1);
        return true;
    };
    const bool fastSucceeded = cache.getOrLoad(1, fastResult, loader, {});
    firstIsIn.release();
    slow.join();

    EXPECT_TRUE(fastSucceeded);
    EXPECT_TRUE(slowSucceeded);
    EXPECT_EQ(fastResult, Points(3, 1));
    EXPECT_EQ(slowResult, Points(3, 1));
    EXPECT_EQ(cache.size(), 1U);
    EXPECT_EQ(cache.weight(), 3U);
}

TEST(LruCache, LoadsWithoutHoldingUpOtherThreads)
{
    PointCache cache(100, 4);
    put(cache, 1, 1);
    bool servedMeanwhile = false;
    const auto letsAnotherThreadIn = [&](Points& value, const std::stop_token&)
    {
        std::thread other([&] { servedMeanwhile = put(cache, 1, 1) && put(cache, 3, 1); });
        other.join();
        value.assign(1, 0);
        return true;
    };
    Points out;

    cache.getOrLoad(2, out, letsAnotherThreadIn, {});

    EXPECT_TRUE(servedMeanwhile);
    EXPECT_EQ(cache.size(), 3U);
}

TEST(LruCache, StaysConsistentWhileThreadsEvictOneAnothersEntries)
{
    constexpr unsigned int kThreadCount = 4;
    constexpr int kRounds = 3000;
    constexpr int kKeyCount = 40;
    constexpr std::uint64_t kCapacity = 60;  // of about 220 that all keys together weigh
    PointCache cache(kCapacity, kKeyCount);
    const auto weightOf = [](int key) { return static_cast<std::size_t>(key % 10 + 1); };
    std::atomic<bool> allRight{true};
    std::vector<std::thread> threads;
    for (unsigned int seed = 1; seed <= kThreadCount; ++seed)
    {
        threads.emplace_back(
            [&, seed]
            {
                std::mt19937 random(seed);
                std::uniform_int_distribution<int> anyKey(0, kKeyCount - 1);
                Points out;
                for (int round = 0; round < kRounds; ++round)
                {
                    const int key = anyKey(random);
                    const bool found = cache.getOrLoad(key, out, loads(weightOf(key), key), {});
                    if (!found || out != Points(weightOf(key), key) || cache.weight() > kCapacity)
                    {
                        allRight = false;
                    }
                }
            }
        );
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    std::size_t count = 0;
    std::uint64_t weight = 0;
    for (int key = 0; key < kKeyCount; ++key)
    {
        if (cache.contains(key))
        {
            ++count;
            weight += weightOf(key);
        }
    }

    EXPECT_TRUE(allRight);
    EXPECT_EQ(cache.size(), count);
    EXPECT_EQ(cache.weight(), weight);
}
}  // namespace
