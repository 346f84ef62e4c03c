#pragma once

#include "math/NBoundingBox.h"
#include "render/Export.h"
#include "render/pointcloud/IFilter.h"

namespace Render
{
/// An axis-aligned box, borders included; an inverted one holds nothing.
class RENDER_API BoxFilter final : public IFilter
{
public:
    /// @param box  world coordinates; infinities are allowed
    /// @throws std::invalid_argument  for a NaN
    explicit BoxFilter(const Math::NBoundingBox<float, 3>& box);

    bool testPosition(const Math::Point<float, 3>& point) override;
    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) override;

private:
    Math::NBoundingBox<float, 3> mBox;
};
}  // namespace Render
