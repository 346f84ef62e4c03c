#include "core/http/HttpPace.h"

#include <algorithm>

namespace Core
{
// Where the library is a DLL, a program can bind a reference to the constant only when it is defined here.
const std::uint64_t HttpPace::kLeastJoined;
const std::uint64_t HttpPace::kMostJoined;
const std::chrono::milliseconds HttpPace::kLongestGathering;

namespace
{
constexpr std::uint64_t kTellingBytes = std::uint64_t{32} << 10U;  // fewer come at once, whatever the rate
constexpr double kShortestBody = 1e-6;                             // seconds

double seconds(HttpPace::Duration time)
{
    return std::chrono::duration<double>(time).count();
}

void smooth(double& value, double sample)
{
    constexpr double kWeight = 0.25;
    value = value > 0.0 ? value + kWeight * (sample - value) : sample;
}
}  // namespace

void HttpPace::add(Duration untilHead, Duration body, std::uint64_t bytes)
{
    smooth(mSecondsUntilHead, seconds(untilHead));
    if (bytes >= kTellingBytes)
    {
        smooth(mBytesPerSecond, static_cast<double>(bytes) / std::max(seconds(body), kShortestBody));
    }
}

std::uint64_t HttpPace::largestJoined() const noexcept
{
    const double wanted = mSecondsUntilHead * mBytesPerSecond;
    return static_cast<std::uint64_t>(
        std::clamp(wanted, static_cast<double>(kLeastJoined), static_cast<double>(kMostJoined))
    );
}

HttpPace::Duration HttpPace::gathering() const noexcept
{
    constexpr double kShare = 0.1;
    constexpr std::chrono::milliseconds kShortest{1};
    const std::chrono::duration<double> wanted(
        std::min(kShare * mSecondsUntilHead, std::chrono::duration<double>(kLongestGathering).count())
    );
    return wanted < kShortest ? Duration::zero() : std::chrono::duration_cast<Duration>(wanted);
}
}  // namespace Core
