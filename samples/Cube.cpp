#include "samples/Cube.h"

#include <algorithm>

namespace Samples
{
Math::Point<double, 3> Cube::center() const noexcept
{
    const double half = edge * 0.5;
    return {min.x + half, min.y + half, min.z + half};
}

Cube Cube::child(unsigned index) const noexcept
{
    const Math::Point<double, 3> middle = center();
    return {
        {
            (index & 4U) != 0 ? middle.x : min.x,
            (index & 2U) != 0 ? middle.y : min.y,
            (index & 1U) != 0 ? middle.z : min.z,
        },
        edge * 0.5};
}

Cube Cube::node(const Octree::OctreeNodeId& id) const
{
    return id.isRoot() ? *this : node(id.parent()).child(id.childIndex());
}

Cube enclosingCube(std::span<const SamplePoint> points) noexcept
{
    if (points.empty())
    {
        return {};
    }
    Math::Point<double, 3> low{points[0].x, points[0].y, points[0].z};
    Math::Point<double, 3> high = low;
    for (const SamplePoint& point : points)
    {
        low = {std::min(low.x, point.x), std::min(low.y, point.y), std::min(low.z, point.z)};
        high = {std::max(high.x, point.x), std::max(high.y, point.y), std::max(high.z, point.z)};
    }
    const double edge = std::max({high.x - low.x, high.y - low.y, high.z - low.z});
    return {low, edge > 0.0 ? edge : 1.0};
}
}  // namespace Samples
