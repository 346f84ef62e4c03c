#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

namespace Cli
{
/// Counts numbers in bins of equal width that begin at its multiples. Their number stays within bounds: when it would
/// grow beyond, bins are joined in pairs.
///
/// Threads  a plain value.
class Histogram
{
public:
    /// Most bins before they are joined.
    static constexpr std::size_t kMostBins = 64;

    /// @param width  of the first bins, above 0 and finite
    explicit Histogram(double width) : mWidth(width) {}

    /// Counts a finite number.
    void add(double value);

    /// Of a bin, the first one's or a power of two times that.
    double width() const noexcept { return mWidth; }

    /// Counts by the multiple of the width at which their bin begins. Bins between them are empty.
    const std::map<std::int64_t, std::uint64_t>& bins() const noexcept { return mBins; }

private:
    void join();

    double mWidth;
    std::map<std::int64_t, std::uint64_t> mBins;
};

/// The largest of 1, 2 or 5 times a power of ten that is not above the number; 1 for what is not above 0.
double niceNumber(double number);
}  // namespace Cli
