#include "core/BackgroundThread.h"
#include "tests/support/ThreadSignals.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <vector>

namespace
{
TEST(BackgroundThread, RunsNothingBeforeTheFirstRestart)
{
    std::atomic<int> runs{0};
    {
        const Core::BackgroundThread thread([&](const std::stop_token&) { ++runs; });
    }

    EXPECT_EQ(runs, 0);
}

TEST(BackgroundThread, RestartRunsTheFunctionOnAnotherThread)
{
    std::thread::id runner;
    Semaphore ran;
    Core::BackgroundThread thread(
        [&](const std::stop_token& token)
        {
            runner = std::this_thread::get_id();
            EXPECT_FALSE(token.stop_requested());
            ran.release();
        }
    );

    thread.restart();
    ran.acquire();

    EXPECT_NE(runner, std::this_thread::get_id());
}

TEST(BackgroundThread, RestartDoesNotWaitForABusyRun)
{
    Semaphore started;
    Semaphore mayEnd;
    std::atomic<int> runs{0};
    Core::BackgroundThread thread(
        [&](const std::stop_token&)
        {
            if (++runs == 1)
            {
                started.release();
                mayEnd.acquire();  // deaf to its token until the restart below has returned
            }
            else
            {
                started.release();
            }
        }
    );
    thread.restart();
    started.acquire();

    thread.restart();
    EXPECT_EQ(runs, 1);
    mayEnd.release();
    started.acquire();

    EXPECT_EQ(runs, 2);
}

TEST(BackgroundThread, RestartAsksTheBusyRunToStopAndGivesTheNextOneAFreshToken)
{
    Semaphore started;
    Semaphore secondRan;
    std::atomic<int> runs{0};
    std::atomic<bool> stoppedAtStart{true};
    Core::BackgroundThread thread(
        [&](const std::stop_token& token)
        {
            if (++runs == 1)
            {
                started.release();
                waitForStop(token);
            }
            else
            {
                stoppedAtStart = token.stop_requested();
                secondRan.release();
            }
        }
    );
    thread.restart();
    started.acquire();

    thread.restart();
    secondRan.acquire();

    EXPECT_FALSE(stoppedAtStart);
}

TEST(BackgroundThread, ManyRestartsDuringABusyRunBecomeOneRun)
{
    Semaphore started;
    Semaphore mayEnd;
    std::atomic<int> runs{0};
    {
        Core::BackgroundThread thread(
            [&](const std::stop_token&)
            {
                const bool isFirst = ++runs == 1;
                started.release();
                if (isFirst)
                {
                    mayEnd.acquire();
                }
            }
        );
        thread.restart();
        started.acquire();

        for (int i = 0; i < 1000; ++i)
        {
            thread.restart();
        }
        mayEnd.release();
        started.acquire();
    }

    EXPECT_EQ(runs, 2);
}

TEST(BackgroundThread, ARunBeginsAfterEveryRestartFromAnyThread)
{
    constexpr int kThreadCount = 4;
    constexpr int kPerThread = 300;
    std::atomic<int> wishes{0};
    std::mutex mutex;
    std::condition_variable changed;
    int seen = 0;
    Core::BackgroundThread thread(
        [&](const std::stop_token&)
        {
            const std::scoped_lock lock(mutex);
            seen = wishes;
            changed.notify_one();
        }
    );
    std::vector<std::thread> askers;
    askers.reserve(kThreadCount);
    for (int i = 0; i < kThreadCount; ++i)
    {
        askers.emplace_back(
            [&]
            {
                for (int k = 0; k < kPerThread; ++k)
                {
                    ++wishes;
                    thread.restart();
                }
            }
        );
    }
    for (std::thread& asker : askers)
    {
        asker.join();
    }

    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return seen == kThreadCount * kPerThread; });

    EXPECT_EQ(seen, kThreadCount * kPerThread);
}

TEST(BackgroundThread, AnExceptionEndsOnlyItsRun)
{
    Semaphore ran;
    std::atomic<int> runs{0};
    Core::BackgroundThread thread(
        [&](const std::stop_token&)
        {
            const int run = ++runs;
            ran.release();
            if (run == 1)
            {
                throw std::runtime_error("first run");
            }
            if (run == 2)
            {
                throw 2;  // not derived from std::exception
            }
        }
    );
    for (int run = 1; run <= 3; ++run)
    {
        thread.restart();
        ran.acquire();

        EXPECT_EQ(runs, run);
    }
}

TEST(BackgroundThread, DestructionStopsTheRunAndWaitsForIt)
{
    Semaphore started;
    bool ended = false;  // not atomic: read after the thread was joined
    {
        Core::BackgroundThread thread(
            [&](const std::stop_token& token)
            {
                started.release();
                waitForStop(token);
                ended = true;
            }
        );
        thread.restart();
        started.acquire();
    }

    EXPECT_TRUE(ended);
}

TEST(BackgroundThread, DestructionDropsAPendingRestart)
{
    Semaphore started;
    std::atomic<int> runs{0};
    std::optional<std::stop_callback<std::function<void()>>> restartWhenStopped;
    {
        Core::BackgroundThread* alias = nullptr;
        Core::BackgroundThread thread(
            [&](const std::stop_token& token)
            {
                ++runs;
                // called inside the destructor, which is what asks for the stop
                restartWhenStopped.emplace(token, [&] { alias->restart(); });
                started.release();
                waitForStop(token);
            }
        );
        alias = &thread;
        thread.restart();
        started.acquire();
    }

    EXPECT_EQ(runs, 1);
}

TEST(BackgroundThread, RestartFromInsideTheFunctionRunsItAgain)
{
    Semaphore done;
    std::atomic<int> runs{0};
    std::unique_ptr<Core::BackgroundThread> thread;
    thread = std::make_unique<Core::BackgroundThread>(
        [&](const std::stop_token& token)
        {
            if (++runs == 3)
            {
                done.release();
                return;
            }
            thread->restart();
            EXPECT_TRUE(token.stop_requested());
        }
    );

    thread->restart();
    done.acquire();

    EXPECT_EQ(runs, 3);
}

TEST(BackgroundThread, RefusesAnEmptyFunction)
{
    EXPECT_THROW(Core::BackgroundThread(std::function<void(std::stop_token)>()), std::invalid_argument);
}
}  // namespace
