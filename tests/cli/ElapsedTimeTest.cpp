#include "apps/cli/ElapsedTime.h"
#include "tests/support/ThreadSignals.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

namespace Cli
{
namespace
{
/// Lines that have been shown.
struct Lines
{
    std::mutex mutex;
    std::vector<std::string> lines;  // under the mutex
    Semaphore shown;

    ElapsedTime::Show taker()
    {
        return [this](const std::string& line)
        {
            {
                const std::scoped_lock lock(mutex);
                lines.push_back(line);
            }
            shown.release();
        };
    }
};
}  // namespace

TEST(ElapsedTime, IsToldAgainAndAgainWhileTheStepGoesOn)
{
    Lines lines;
    {
        const ElapsedTime elapsed("drawing a\npicture", std::chrono::milliseconds(1), lines.taker());
        lines.shown.acquire();
        lines.shown.acquire();
    }

    const std::string& first = lines.lines.at(0);
    EXPECT_EQ(first.substr(0, first.find(',')), "drawing a picture");
    EXPECT_EQ(first.substr(first.size() - 2), " s");
    EXPECT_GE(lines.lines.size(), 2U);
}

TEST(ElapsedTime, IsNotToldOfAStepThatIsDoneSoon)
{
    Lines lines;
    {
        const ElapsedTime elapsed("drawing", std::chrono::hours(1), lines.taker());
    }

    EXPECT_TRUE(lines.lines.empty());
}
}  // namespace Cli
