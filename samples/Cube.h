#pragma once

#include "math/Point.h"
#include "octree/OctreeNodeId.h"
#include "samples/SamplePoint.h"

#include <span>

namespace Samples
{
/// An axis-aligned cube: the space of an octree node.
struct Cube
{
    Math::Point<double, 3> min;
    double edge = 1;

    /// Cell `index` of the eight halves; index bits: x = 4, y = 2, z = 1, a set bit is the upper half.
    Cube child(unsigned index) const noexcept;

    /// The cube of a node below this one, which is the root's.
    Cube node(const Octree::OctreeNodeId& id) const;

    Math::Point<double, 3> center() const noexcept;
};

/// The cube from the smallest coordinates with the longest extent as its edge; edge 1 when all points
/// coincide, and the unit cube at the origin for no points.
Cube enclosingCube(std::span<const SamplePoint> points) noexcept;
}  // namespace Samples
