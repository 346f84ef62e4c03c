#include "render/pointcloud/CloudLoading.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace
{
using Render::CloudLoading;

/// Waits until the condition holds; false when it does not within a minute.
template <class Condition>
bool eventually(Condition&& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}
}  // namespace

TEST(CloudLoading, IsHealthyAndNotCompleteWhereThereIsNone)
{
    CloudLoading loading;
    loading.restart();
    {
        const CloudLoading::Pause pause(loading);
    }

    EXPECT_FALSE(loading.isActive());
    EXPECT_TRUE(loading.isHealthy(true));
    EXPECT_FALSE(loading.isComplete());
}

TEST(CloudLoading, StartingRunsOnce)
{
    std::atomic<int> runs = 0;
    CloudLoading loading;

    EXPECT_TRUE(loading.start([&runs](std::stop_token) { ++runs; }));

    EXPECT_TRUE(loading.isActive());
    EXPECT_TRUE(eventually([&loading] { return loading.isComplete(); }));
    EXPECT_EQ(runs, 1);
}

TEST(CloudLoading, ASecondStartIsDropped)
{
    std::atomic<int> runsOfTheSecond = 0;
    CloudLoading loading;
    loading.start([](std::stop_token) {});

    EXPECT_FALSE(loading.start([&](std::stop_token) { ++runsOfTheSecond; }));

    loading.restart();
    EXPECT_TRUE(eventually([&loading] { return loading.isComplete(); }));
    EXPECT_EQ(runsOfTheSecond, 0);
}

TEST(CloudLoading, CanStartAgainAfterAStop)
{
    std::atomic<int> runsOfTheSecond = 0;
    CloudLoading loading;
    loading.start([](std::stop_token) {});
    loading.stop();
    EXPECT_FALSE(loading.isActive());

    EXPECT_TRUE(loading.start([&](std::stop_token) { ++runsOfTheSecond; }));

    EXPECT_TRUE(eventually([&loading] { return loading.isComplete(); }));
    EXPECT_EQ(runsOfTheSecond, 1);
}

TEST(CloudLoading, NothingRunsDuringAPauseAndANewRunFollowsIt)
{
    std::atomic<int> begun = 0;
    std::atomic<bool> isRunning = false;
    CloudLoading loading;
    loading.start(
        [&](const std::stop_token& stopToken)
        {
            isRunning = true;
            ++begun;
            waitForStop(stopToken);
            isRunning = false;
        }
    );
    ASSERT_TRUE(eventually([&begun] { return begun == 1; }));
    {
        const CloudLoading::Pause pause(loading);
        EXPECT_FALSE(isRunning);
        loading.restart();
        EXPECT_EQ(begun, 1);
    }

    EXPECT_TRUE(eventually([&begun] { return begun == 2; }));
}

TEST(CloudLoading, TellsWhyTheLastRunFailed)
{
    CloudLoading loading;
    loading.start([](std::stop_token) { throw std::runtime_error("no such node"); });

    EXPECT_TRUE(eventually([&loading] { return !loading.isHealthy(false); }));
    EXPECT_EQ(messageOf<std::runtime_error>([&loading] { loading.isHealthy(true); }), "no such node");
}
