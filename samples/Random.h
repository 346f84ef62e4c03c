#pragma once

#include <cstdint>

namespace Samples
{
/// Spreads the bits of a number over all 64, one to one.
/// Source   finalizer of SplitMix64: G. L. Steele et al., "Fast Splittable Pseudorandom Number Generators"
///          (2014).
constexpr std::uint64_t scrambled(std::uint64_t value) noexcept
{
    value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9U;
    value = (value ^ (value >> 27U)) * 0x94d049bb133111ebU;
    return value ^ (value >> 31U);
}

/// Random numbers that are the same with every compiler and standard library.
///
/// Source   SplitMix64, as above.
/// Threads  a plain value.
class Random
{
public:
    explicit constexpr Random(std::uint64_t seed) noexcept : mState(scrambled(seed)) {}

    constexpr std::uint64_t next() noexcept
    {
        mState += 0x9e3779b97f4a7c15U;
        return scrambled(mState);
    }

    /// 0 <= result < bound; bound above 0. Off uniform by less than bound / 2^32.
    constexpr std::uint32_t below(std::uint32_t bound) noexcept
    {
        return static_cast<std::uint32_t>(((next() >> 32U) * bound) >> 32U);
    }

    /// 0 <= result < 1, in steps of 2^-53.
    constexpr double unit() noexcept { return static_cast<double>(next() >> 11U) * 0x1p-53; }

    /// low <= result < high.
    constexpr double between(double low, double high) noexcept { return low + (high - low) * unit(); }

    /// About normally distributed with mean 0 and deviation 1: a sum of four uniform numbers, so never
    /// beyond 3.5 and free of the logarithms that differ between mathematics libraries.
    constexpr double normal() noexcept
    {
        return (unit() + unit() + unit() + unit() - 2.0) * 1.7320508075688772;
    }

private:
    std::uint64_t mState;
};
}  // namespace Samples
