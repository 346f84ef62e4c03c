#pragma once

#include <cstddef>

namespace Octree
{
struct PointBlock;

/// Takes the points of one node as they are decoded, in storage order.
///
/// Threads  the one that reads the node.
class PointSink
{
public:
    virtual ~PointSink() = default;

    /// Called once, before the first block.
    /// @param pointCount    points of all blocks together
    /// @param visibleCount  those of them that are not hidden
    virtual void begin(std::size_t pointCount, std::size_t visibleCount) = 0;

    /// @param block  the next points, lent for the call. The sink may change it, and finds attributes that
    ///               are not there in the next block as it left them.
    virtual void take(PointBlock& block) = 0;
};
}  // namespace Octree
