#pragma once

#include "octree/OctreeNodeId.h"
#include "samples/Cube.h"
#include "samples/SamplePoint.h"

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <utility>
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

/// What a writer's options say of the placement.
/// @param options  with cube and span
template <class WriterOptions>
PlacementOptions placementOf(const WriterOptions& options)
{
    return {
        .cube = *options.cube,
        .spacing = options.cube->edge / options.span,
        .leafCapacity = options.leafCapacity,
        .maxLevel = options.maxLevel,
        .threadCount = options.threadCount,
    };
}

/// The points of several nodes one after the other, and which of them lie in which.
struct PlacedCloud
{
    std::vector<SamplePoint> points;
    std::vector<PlacedNode> nodes;
};

/// The points of nodes into which the caller has placed them.
template <class Node>
PlacedCloud joinNodes(std::span<const Node> nodes)
{
    PlacedCloud cloud;
    for (const Node& node : nodes)
    {
        std::vector<std::uint32_t> indices(node.points.size());
        std::iota(indices.begin(), indices.end(), static_cast<std::uint32_t>(cloud.points.size()));
        cloud.nodes.push_back({Octree::OctreeNodeId::fromName(node.name), std::move(indices)});
        cloud.points.insert(cloud.points.end(), node.points.begin(), node.points.end());
    }
    return cloud;
}
}  // namespace Samples
