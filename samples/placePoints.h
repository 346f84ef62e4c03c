#pragma once

#include "octree/OctreeNodeId.h"
#include "samples/Cube.h"
#include "samples/SamplePoint.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Samples
{
/// A node and which of the cloud's points lie in it.
struct PlacedNode
{
    Octree::OctreeNodeId id;
    std::vector<std::uint32_t> points;
};

struct PlacementOptions
{
    Cube cube;
    double spacing = 1;  ///< of the root, above 0
    std::size_t leafCapacity = 10000;
    unsigned maxLevel = 14;
    unsigned threadCount = 0;
};

/// Distributes points over the nodes of an octree so that level of detail is additive: from the root down
/// each node keeps as many points as fit at its level's spacing from each other and from its ancestors'
/// points, and hands the others to its children; nodes with few points, and those at the deepest level, keep
/// all.
///
/// The result depends neither on the number of threads nor, but for the choice among neighbours, on the
/// points' order. Points outside the cube go to the nodes nearest to them.
/// @return the nodes in breadth-first order; none for no points
/// Source   Poisson-disk sampling by dart throwing on a grid: R. Bridson, "Fast Poisson Disk Sampling in
///          Arbitrary Dimensions" (2007), with the given points as the darts.
std::vector<PlacedNode> placePoints(std::span<const SamplePoint> points, const PlacementOptions& options);
}  // namespace Samples
