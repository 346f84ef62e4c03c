#include "render/pointcloud/CloudLoading.h"
#include "tests/support/ThreadSignals.h"
#include "tests/support/messageOf.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>

namespace
{
using Render::CloudLoading;

constexpr std::chrono::hours kNever(1);
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

    EXPECT_TRUE(loading.start([&runs](std::stop_token) { ++runs; }, kNever));

    EXPECT_TRUE(loading.isActive());
    EXPECT_TRUE(eventually([&loading] { return loading.isComplete(); }));
    EXPECT_EQ(runs, 1);
}

TEST(CloudLoading, ASecondStartIsDropped)
{
    std::atomic<int> runsOfTheSecond = 0;
    CloudLoading loading;
    loading.start([](std::stop_token) {}, kNever);

    EXPECT_FALSE(loading.start([&](std::stop_token) { ++runsOfTheSecond; }, kNever));

    loading.restart();
    EXPECT_TRUE(eventually([&loading] { return loading.isComplete(); }));
    EXPECT_EQ(runsOfTheSecond, 0);
}

TEST(CloudLoading, CanStartAgainAfterAStop)
{
    std::atomic<int> runsOfTheSecond = 0;
    CloudLoading loading;
    loading.start([](std::stop_token) {}, kNever);
    loading.stop();
    EXPECT_FALSE(loading.isActive());

    EXPECT_TRUE(loading.start([&](std::stop_token) { ++runsOfTheSecond; }, kNever));

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
        },
        kNever
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
    loading.start([](std::stop_token) { throw std::runtime_error("no such node"); }, kNever);

    EXPECT_TRUE(eventually([&loading] { return !loading.isHealthy(false); }));
    EXPECT_EQ(messageOf<std::runtime_error>([&loading] { loading.isHealthy(true); }), "no such node");
}
