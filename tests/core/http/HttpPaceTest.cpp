#include "core/http/HttpPace.h"

#include <gtest/gtest.h>

#include <chrono>

namespace Core
{
using std::chrono::microseconds;
using std::chrono::milliseconds;

namespace
{
constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20U;
}

TEST(HttpPace, AsksForLittleAndAtOnceAsLongAsNothingIsKnown)
{
    const HttpPace pace;

    EXPECT_EQ(pace.largestJoined(), kMebibyte);
    EXPECT_EQ(pace.gathering(), milliseconds(0));
}

TEST(HttpPace, AsksForWhatComesInTheTimeThatAnAnswerTakes)
{
    HttpPace pace;
    pace.add(milliseconds(20), milliseconds(10), kMebibyte);

    EXPECT_EQ(pace.largestJoined(), 2 * kMebibyte);
    EXPECT_EQ(pace.gathering(), milliseconds(2));
}

TEST(HttpPace, StaysWithinItsBounds)
{
    HttpPace slow;
    slow.add(milliseconds(1), std::chrono::seconds(10), kMebibyte);
    HttpPace far;
    far.add(milliseconds(300), milliseconds(1), kMebibyte);

    EXPECT_EQ(slow.largestJoined(), kMebibyte);
    EXPECT_EQ(far.largestJoined(), 4 * kMebibyte);
    EXPECT_EQ(far.gathering(), milliseconds(5));
}

TEST(HttpPace, HoldsNothingBackFromAServerThatIsNear)
{
    HttpPace pace;
    pace.add(microseconds(9'000), milliseconds(1), kMebibyte);

    EXPECT_EQ(pace.gathering(), milliseconds(0));  // a tenth is 0.9 ms
}

TEST(HttpPace, ForgetsSlowlyHowItWas)
{
    HttpPace pace;
    pace.add(milliseconds(40), milliseconds(20), kMebibyte);
    pace.add(milliseconds(20), milliseconds(20), kMebibyte);

    EXPECT_EQ(pace.gathering(), microseconds(3'500));  // of 40 + (20 - 40) / 4
}

TEST(HttpPace, ShortBodiesTellNothingOfTheRate)
{
    HttpPace pace;
    pace.add(milliseconds(40), milliseconds(40), 2 * kMebibyte);
    pace.add(milliseconds(40), microseconds(1), 100);

    EXPECT_EQ(pace.largestJoined(), 2 * kMebibyte);
}
}  // namespace Core
