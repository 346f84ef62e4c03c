#pragma once

#include <cstdint>

namespace Octree
{
/// Most points of a node that are read; more are an error. Real nodes have up to some hundred thousand. It is
/// below the capacity of every cache of points, so one node of a damaged data set cannot take all of a cache
/// and suspend its bound.
inline constexpr std::uint64_t kMaxPointsPerNode = 1'000'000;
}  // namespace Octree
