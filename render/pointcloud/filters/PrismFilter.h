#pragma once

#include "math/Point.h"
#include "render/Export.h"
#include "render/pointcloud/IFilter.h"

#include <vector>

namespace Render
{
/// What stands on a polygon of the horizontal plane between two heights, borders included.
///
/// The polygon may be concave; where it crosses itself, what is enclosed an even number of times is outside.
/// Source  crossings of a ray: M. Shimrat, "Algorithm 112: Position of point relative to polygon" (1962).
class RENDER_API PrismFilter final : public IFilter
{
public:
    /// @param polygon  corners in order, either way round, world x and y; the first may be repeated as the
    ///                 last
    /// @param minZ     lower height; above maxZ the prism holds nothing. Infinities are allowed.
    /// @throws std::invalid_argument  for fewer than three different corners, corners that are not finite,
    ///                                heights that are NaN
    PrismFilter(std::vector<Math::Point<float, 2>> polygon, float minZ, float maxZ);

    /// Takes what another polygon encloses out of the prism, but for its border.
    /// @throws std::invalid_argument  as the constructor
    void addHole(std::vector<Math::Point<float, 2>> polygon);

    bool testPosition(const Math::Point<float, 3>& point) override;
    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) override;

private:
    using Ring = std::vector<Math::Point<float, 2>>;

    bool isInPolygon(double x, double y) const noexcept;

    std::vector<Ring> mRings;  // the outline, then holes; of each the last corner is joined to the first
    float mMinZ;
    float mMaxZ;
};
}  // namespace Render
