#pragma once

#include "octree/PointSink.h"

#include <cstddef>

namespace Octree
{
struct NodePointColumns;

/// Puts the points of a node into arrays.
class ColumnSink final : public PointSink
{
public:
    /// @param attributes  AttributeMask bits of the arrays to fill; the others become empty
    ColumnSink(NodePointColumns& out, unsigned attributes) noexcept : mOut(out), mAttributes(attributes) {}

    /// Gives the arrays their lengths, those too of what blocks do not have: normals and what was recorded.
    void begin(std::size_t pointCount, std::size_t visibleCount) override;

    void take(PointBlock& block) override;

private:
    NodePointColumns& mOut;
    unsigned mAttributes;
    std::size_t mTaken = 0;
};
}  // namespace Octree
