#pragma once

#include "samples/scene/Shape.h"
#include "samples/scene/SitePlan.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Samples
{
/// The ground with its crops, as heights over a grid of triangles.
///
/// Frame    the scene's: metres, x east, y north, z up.
/// Threads  const operations from any threads at once.
class Terrain
{
public:
    /// Edge of a grid cell in metres.
    static constexpr double kCellSize = 0.5;

    explicit Terrain(const SitePlan& plan);

    /// Height of the ground; outside the scene that at its border.
    double height(double x, double y) const noexcept;

    /// Smooth across the triangles, for shading.
    Vector normal(double x, double y) const noexcept;

    /// Height of the pond's surface.
    double waterLevel() const noexcept { return mWaterLevel; }

    /// True where the ground lies below the pond's surface.
    bool isUnderWater(double x, double y) const noexcept;

    /// Where a ray meets the ground first, from above or below.
    std::optional<ShapeHit> intersect(const Ray& ray, double maxDistance) const noexcept;

private:
    static constexpr std::size_t kCells = static_cast<std::size_t>(SitePlan::kSize / kCellSize);

    double node(std::size_t column, std::size_t row) const noexcept
    {
        return mHeights[row * (kCells + 1) + column];
    }

    std::optional<ShapeHit> intersectCell(const Ray& ray, std::size_t column, std::size_t row) const noexcept;

    std::vector<double> mHeights;
    double mWaterLevel = 0;
    double mLowest = 0;
    double mHighest = 0;
};
}  // namespace Samples
