#pragma once

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <vector>

/// By how much a series grows from one value to the next: the median of the slopes between all pairs, which a
/// few outliers do not move.
///
/// Source   P. K. Sen, "Estimates of the regression coefficient based on Kendall's tau", 1968.
/// @throws std::invalid_argument  for fewer than two values
inline double slope(const std::vector<double>& values)
{
    std::vector<double> slopes;
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        for (std::size_t j = i + 1; j < values.size(); ++j)
        {
            slopes.push_back((values[j] - values[i]) / static_cast<double>(j - i));
        }
    }
    if (slopes.empty())
    {
        throw std::invalid_argument("a slope needs two values");
    }
    const auto middle = slopes.begin() + static_cast<std::ptrdiff_t>(slopes.size() / 2);
    std::nth_element(slopes.begin(), middle, slopes.end());
    return *middle;
}
