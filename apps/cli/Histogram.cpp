#include "apps/cli/Histogram.h"

#include <cmath>
#include <utility>

namespace Cli
{
void Histogram::add(double value)
{
    constexpr double kLargestIndex = 9e15;  // whole numbers up to here are exact
    while (std::abs(value / mWidth) > kLargestIndex)
    {
        join();
    }
    ++mBins[static_cast<std::int64_t>(std::floor(value / mWidth))];
    while (mBins.rbegin()->first - mBins.begin()->first >= static_cast<std::int64_t>(kMostBins))
    {
        join();
    }
}

void Histogram::join()
{
    mWidth *= 2.0;
    std::map<std::int64_t, std::uint64_t> joined;
    for (const auto& [index, count] : mBins)
    {
        joined[index >> 1] += count;  // towards minus infinity
    }
    mBins = std::move(joined);
}

double niceNumber(double number)
{
    if (!(number > 0.0) || !std::isfinite(number))
    {
        return 1.0;
    }
    const double power = std::pow(10.0, std::floor(std::log10(number)));
    for (const double factor : {5.0, 2.0})
    {
        if (factor * power <= number)
        {
            return factor * power;
        }
    }
    return power;
}
}  // namespace Cli
