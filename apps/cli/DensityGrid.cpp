#include "apps/cli/DensityGrid.h"

#include "apps/cli/formatNumber.h"
#include <math/Spectrum.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace Cli
{
namespace
{
constexpr std::uint64_t kSmallestPicture = 512;  // pixels of its longer side, if cells are few

/// Cells from the first to the last of a range.
double cellsBetween(double first, double last, double cell)
{
    return std::floor(last / cell) - std::floor(first / cell) + 1.0;
}
}  // namespace

DensityGrid::DensityGrid(const Math::NBoundingBox<double, 3>& bounds, double cell)
    : mCell(cell),
      mMinX(std::floor(bounds.min().x / cell) * cell),
      mMinY(std::floor(bounds.min().y / cell) * cell)
{
    const double columns = cellsBetween(bounds.min().x, bounds.max().x, cell);
    const double rows = cellsBetween(bounds.min().y, bounds.max().y, cell);
    if (!(columns >= 1.0 && rows >= 1.0 && columns * rows <= static_cast<double>(kMostCells)))
    {
        throw std::runtime_error(
            "cells of " + formatNumber(cell) + " are too small for these bounds: at most " +
            std::to_string(kMostCells) + " are possible"
        );
    }
    mColumns = static_cast<std::uint64_t>(columns);
    mRows = static_cast<std::uint64_t>(rows);
    mCounts.resize(static_cast<std::size_t>(mColumns * mRows));
}

void DensityGrid::add(double x, double y)
{
    const double column = std::floor(x / mCell) - std::round(mMinX / mCell);
    const double row = std::floor(y / mCell) - std::round(mMinY / mCell);
    if (column >= 0.0 && row >= 0.0 && column < static_cast<double>(mColumns) &&
        row < static_cast<double>(mRows))
    {
        ++mCounts
            [static_cast<std::size_t>(row) * static_cast<std::size_t>(mColumns) +
             static_cast<std::size_t>(column)];
    }
    else
    {
        ++mOutside;
    }
}

DensityGrid::Summary DensityGrid::summary() const
{
    std::vector<std::uint32_t> counts;
    std::uint64_t points = 0;
    for (const std::uint32_t count : mCounts)
    {
        if (count > 0)
        {
            counts.push_back(count);
            points += count;
        }
    }
    Summary summary;
    if (counts.empty())
    {
        return summary;
    }
    std::ranges::sort(counts);
    const double cellArea = mCell * mCell;
    const std::size_t half = counts.size() / 2;
    const auto at = [&](std::size_t i) { return static_cast<double>(counts[i]); };
    const double middle = counts.size() % 2 == 1 ? at(half) : (at(half - 1) + at(half)) / 2.0;
    summary.cells = counts.size();
    summary.area = static_cast<double>(counts.size()) * cellArea;
    summary.mean = static_cast<double>(points) / summary.area;
    summary.median = middle / cellArea;
    summary.min = counts.front() / cellArea;
    summary.max = counts.back() / cellArea;
    return summary;
}

Graphics::ColorImage DensityGrid::picture() const
{
    const std::uint64_t factor = std::max<std::uint64_t>(1, kSmallestPicture / std::max(mColumns, mRows));
    const std::uint32_t most = std::max<std::uint32_t>(1, *std::ranges::max_element(mCounts));
    Graphics::ColorImage image(mColumns * factor, mRows * factor);
    image.fill(Math::Color(0, 0, 0, 0));
    for (std::uint64_t y = 0; y < image.height(); ++y)
    {
        for (std::uint64_t x = 0; x < image.width(); ++x)
        {
            const std::uint64_t points = count(x / factor, mRows - 1 - y / factor);
            if (points > 0)
            {
                const float share = static_cast<float>(points) / static_cast<float>(most);
                image.setPixel(x, y, Math::Spectrum::Viridis::color(share));
            }
        }
    }
    return image;
}
}  // namespace Cli
