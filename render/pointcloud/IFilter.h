#pragma once

#include "math/NBoundingBox.h"
#include "math/Point.h"
#include "octree/BoxTestResult.h"

namespace Render
{
/// A region of space that a query asks about.
///
/// Both questions must agree: no point of a box that lies Inside may be refused, none of a box that lies
/// Outside accepted. A filter that cannot tell answers Border, which costs time and nothing else.
///
/// Frame    world coordinates.
/// Threads  a query asks on the thread that uses it.
class IFilter
{
public:
    /// Whether the region holds the point.
    virtual bool testPosition(const Math::Point<float, 3>& point) = 0;

    /// How the box lies to the region.
    virtual Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) = 0;

    virtual ~IFilter() = default;

protected:
    IFilter() = default;
    IFilter(const IFilter&) = default;
    IFilter& operator=(const IFilter&) = default;
};
}  // namespace Render
