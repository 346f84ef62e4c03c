#pragma once

#include "core/Export.h"

#include <chrono>
#include <cstdint>

namespace Core
{
/// How soon and how fast the servers of one origin answer, learned from their answers, and what that means for the next
/// requests: the longer an answer takes the more bytes one request should ask for, and the longer it pays to wait for
/// ranges that can be asked for together.
///
/// Threads  one at a time.
class CORE_API HttpPace
{
public:
    using Duration = std::chrono::steady_clock::duration;

    static constexpr std::uint64_t kLeastJoined = std::uint64_t{1} << 20U;
    static constexpr std::uint64_t kMostJoined = std::uint64_t{4} << 20U;
    static constexpr std::chrono::milliseconds kLongestGathering{5};

    /// Learns from an answer that came whole.
    /// @param untilHead  from the request until the end of the answer's head
    /// @param body       from there until the last byte
    /// @param bytes      of the body
    void add(Duration untilHead, Duration body, std::uint64_t bytes);

    /// Most bytes of ranges that become one request: what comes in the time until a head, but 1 to 4 MiB.
    std::uint64_t largestJoined() const noexcept;

    /// How long a range that nobody waits for yet is held back for others beside it: a tenth of the time until a
    /// head, but 5 ms at most, and nothing below 1 ms.
    Duration gathering() const noexcept;

private:
    double mSecondsUntilHead = 0.0;  // smoothed; 0 until known
    double mBytesPerSecond = 0.0;    // likewise
};
}  // namespace Core
