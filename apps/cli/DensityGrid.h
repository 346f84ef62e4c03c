#pragma once

#include <graphics/ColorImage.h>
#include <math/NBoundingBox.h>

#include <cstdint>
#include <vector>

namespace Cli
{
/// Points per square unit of the ground, counted in square cells.
///
/// Threads  a plain value.
class DensityGrid
{
public:
    /// Most cells of a grid.
    static constexpr std::uint64_t kMostCells = 16'000'000;

    /// @param bounds  of the points; cells begin at multiples of their size
    /// @param cell    edge of a cell, above 0
    /// @throws std::runtime_error  for more than kMostCells cells
    DensityGrid(const Math::NBoundingBox<double, 3>& bounds, double cell);

    /// Counts a point; what lies outside the bounds is only counted as such.
    void add(double x, double y);

    /// Cells with points, and what they hold.
    struct Summary
    {
        std::uint64_t cells = 0;
        double area = 0.0;    ///< of these cells
        double mean = 0.0;    ///< points per square unit of them
        double median = 0.0;  ///< of their densities
        double min = 0.0;     ///< likewise
        double max = 0.0;     ///< likewise
    };

    Summary summary() const;

    /// A square of pixels for each cell, the north at the top, in Viridis from none to the largest density; cells
    /// without points are transparent.
    Graphics::ColorImage picture() const;

    double cell() const noexcept { return mCell; }

    /// Where the south-western cell begins.
    double minX() const noexcept { return mMinX; }

    double minY() const noexcept { return mMinY; }

    std::uint64_t columns() const noexcept { return mColumns; }

    std::uint64_t rows() const noexcept { return mRows; }

    /// Points of a cell; rows go from the south.
    std::uint64_t count(std::uint64_t column, std::uint64_t row) const
    {
        return mCounts[row * mColumns + column];
    }

    /// Points outside the bounds.
    std::uint64_t outside() const noexcept { return mOutside; }

private:
    double mCell;
    double mMinX;
    double mMinY;
    std::uint64_t mColumns;
    std::uint64_t mRows;
    std::vector<std::uint32_t> mCounts;
    std::uint64_t mOutside = 0;
};
}  // namespace Cli
