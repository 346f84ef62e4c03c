#include "samples/runInParallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace
{
using Samples::runInParallel;

TEST(RunInParallel, RunsEachTaskOnce)
{
    for (const unsigned threads : {0U, 1U, 3U, 50U})
    {
        std::vector<std::atomic<int>> runs(20);

        runInParallel(runs.size(), threads, [&](std::size_t i) { ++runs[i]; });

        for (const std::atomic<int>& count : runs)
        {
            EXPECT_EQ(count, 1);
        }
    }
}

TEST(RunInParallel, DoesNothingWithoutTasks)
{
    runInParallel(0, 4, [](std::size_t) { FAIL(); });
}

TEST(RunInParallel, ThrowsWhatATaskThrows)
{
    const auto fail = [](std::size_t i)
    {
        if (i == 3)
        {
            throw std::runtime_error("the fourth one");
        }
    };

    EXPECT_THROW(runInParallel(8, 2, fail), std::runtime_error);
}
}  // namespace
