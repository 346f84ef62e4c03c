#include "core/BackgroundThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <semaphore>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <vector>

namespace
{
/// Waits on the background thread until its run is asked to stop.
void waitForStop(const std::stop_token& token)
{
    std::mutex mutex;
    std::condition_variable_any changed;
    std::unique_lock lock(mutex);
    changed.wait(lock, token, [] { return false; });
}

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
    std::binary_semaphore ran{0};
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
    std::binary_semaphore started{0};
    std::binary_semaphore mayEnd{0};
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
    std::binary_semaphore started{0};
    std::binary_semaphore secondRan{0};
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
    std::counting_semaphore<> started{0};
    std::binary_semaphore mayEnd{0};
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
    std::counting_semaphore<> ran{0};
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
    std::binary_semaphore started{0};
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
    std::binary_semaphore started{0};
    std::atomic<int> runs{0};
    {
        std::unique_ptr<Core::BackgroundThread> thread;
        Core::BackgroundThread* alias = nullptr;
        thread = std::make_unique<Core::BackgroundThread>(
            [&](const std::stop_token& token)
            {
                ++runs;
                // runs inside the destructor, which is what asks for the stop
                const std::stop_callback restartWhenStopped(token, [&] { alias->restart(); });
                started.release();
                waitForStop(token);
            }
        );
        alias = thread.get();
        thread->restart();
        started.acquire();
    }

    EXPECT_EQ(runs, 1);
}

TEST(BackgroundThread, RestartFromInsideTheFunctionRunsItAgain)
{
    std::binary_semaphore done{0};
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
