#include "render/pointcloud/AsyncReload.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace
{
using namespace std::chrono_literals;
using Render::AsyncReload;

constexpr std::chrono::seconds kLong{60};  // no test waits for it: reaching it is the failure
}  // namespace

TEST(AsyncReload, RunsNothingBeforeItIsAskedTo)
{
    std::atomic<int> runs = 0;
    {
        AsyncReload reload([&runs](std::stop_token) { ++runs; });
        EXPECT_TRUE(reload.isHealthy(true));
    }

    EXPECT_EQ(runs, 0);
}

TEST(AsyncReload, IsCompleteWhenARunThatBeganAfterTheLastRestartHasEnded)
{
    Semaphore mayEnd;
    AsyncReload reload([&mayEnd](std::stop_token) { mayEnd.acquire(); });

    reload.restart();
    EXPECT_FALSE(reload.isComplete());

    mayEnd.release();
    EXPECT_TRUE(eventually([&reload] { return reload.isComplete(); }));

    reload.restart();
    EXPECT_FALSE(reload.isComplete());
    mayEnd.release();
    EXPECT_TRUE(eventually([&reload] { return reload.isComplete(); }));
}

TEST(AsyncReload, ARestartStopsTheRunInProgress)
{
    std::atomic<int> runs = 0;
    std::atomic<int> stopped = 0;
    AsyncReload reload(
        [&](std::stop_token stopToken)
        {
            if (++runs == 1)
            {
                waitForStop(stopToken);
                ++stopped;
            }
        }
    );
    reload.restart();
    ASSERT_TRUE(eventually([&runs] { return runs == 1; }));

    reload.restart();

    EXPECT_TRUE(eventually([&reload] { return reload.isComplete(); }));
    EXPECT_EQ(stopped, 1);
    EXPECT_EQ(runs, 2);
}

TEST(AsyncReload, AFailureIsKeptAndTriedAgainUntilItSucceeds)
{
    std::atomic<int> runs = 0;
    Semaphore mayRetry;
    AsyncReload reload(
        [&](std::stop_token)
        {
            if (++runs == 1)
            {
                throw std::runtime_error("octree.bin: too short");
            }
            mayRetry.acquire();
        },
        1ms
    );

    reload.restart();

    ASSERT_TRUE(eventually([&runs] { return runs == 2; }));
    EXPECT_FALSE(reload.isHealthy(false));
    EXPECT_EQ(messageOf<std::runtime_error>([&reload] { reload.isHealthy(true); }), "octree.bin: too short");
    EXPECT_FALSE(reload.isComplete());

    mayRetry.release();
    EXPECT_TRUE(eventually([&reload] { return reload.isComplete(); }));
    EXPECT_TRUE(reload.isHealthy(true));
}

TEST(AsyncReload, ARestartEndsTheWaitForTheNextTry)
{
    std::atomic<int> runs = 0;
    AsyncReload reload(
        [&runs](std::stop_token)
        {
            if (++runs == 1)
            {
                throw std::runtime_error("broken");
            }
        },
        std::chrono::hours(1)
    );
    reload.restart();
    ASSERT_TRUE(eventually([&reload] { return !reload.isHealthy(false); }));

    reload.restart();

    EXPECT_TRUE(eventually([&reload] { return reload.isComplete(); }));
    EXPECT_TRUE(reload.isHealthy(false));
}

TEST(AsyncReload, ARunThatFailsBecauseItIsStoppedIsFollowedByTheNextAtOnce)
{
    constexpr int kRounds = 3000;
    std::atomic<bool> mayEnd = false;
    AsyncReload reload(
        [&mayEnd](std::stop_token stopToken)
        {
            while (!mayEnd)
            {
                if (stopToken.stop_requested())
                {
                    throw std::runtime_error("stopped");
                }
            }
        },
        std::chrono::hours(1)
    );

    // Bursts, so that runs begin while the next restart is on its way.
    for (int round = 0; round < kRounds; ++round)
    {
        mayEnd = false;
        for (int i = 0; i < 3; ++i)
        {
            reload.restart();
        }
        const auto pauseEnd = std::chrono::steady_clock::now() + 30us;
        while (std::chrono::steady_clock::now() < pauseEnd)
        {
        }
        mayEnd = true;
        ASSERT_TRUE(eventually([&reload] { return reload.isComplete(); })) << "round " << round;
    }
}

TEST(AsyncReload, DestructionEndsTheWaitForTheNextTry)
{
    const auto start = std::chrono::steady_clock::now();
    {
        AsyncReload reload(
            [](std::stop_token) { throw std::runtime_error("broken"); }, std::chrono::hours(1)
        );
        reload.restart();
        ASSERT_TRUE(eventually([&reload] { return !reload.isHealthy(false); }));
    }

    EXPECT_LT(std::chrono::steady_clock::now() - start, kLong);
}

TEST(AsyncReload, NothingRunsWhilePaused)
{
    std::atomic<int> runs = 0;
    std::atomic<bool> isRunning = false;
    AsyncReload reload(
        [&](std::stop_token stopToken)
        {
            isRunning = true;
            ++runs;
            if (runs == 1)
            {
                waitForStop(stopToken);
            }
            isRunning = false;
        }
    );
    reload.restart();
    ASSERT_TRUE(eventually([&isRunning] { return isRunning.load(); }));

    reload.pause();
    EXPECT_FALSE(isRunning);
    reload.restart();
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(reload.isComplete());

    reload.resume();
    EXPECT_TRUE(eventually([&reload] { return reload.isComplete(); }));
    EXPECT_EQ(runs, 2);
}
