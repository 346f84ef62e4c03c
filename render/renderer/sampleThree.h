#pragma once

#include <array>
#include <cstdint>
#include <random>

namespace Render
{
/// A number below `bound`, all equally likely, from as few numbers of the generator as possible.
///
/// The standard leaves open how its distributions draw; this is the same everywhere.
/// @param bound  at least 1
/// Source  D. Lemire, "Fast Random Integer Generation in an Interval", ACM TOMACS 29 (2019).
std::uint32_t drawBelow(std::mt19937& generator, std::uint32_t bound);

/// Three different numbers below `count` in ascending order, all triples equally likely.
/// @param count  at least 3
/// Source  selection sampling: D. E. Knuth, "The Art of Computer Programming", volume 2, 3.4.2, algorithm S.
std::array<std::uint32_t, 3> sampleThree(std::mt19937& generator, std::uint32_t count);
}  // namespace Render
