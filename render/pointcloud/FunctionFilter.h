#pragma once

#include "render/Export.h"
#include "render/pointcloud/IFilter.h"

#include <functional>

namespace Render
{
/// Where a function says so, within a box if there is one: nodes outside the box are not read.
class RENDER_API FunctionFilter final : public IFilter
{
public:
    /// @param accepts  asked about each point, world coordinates
    /// @param bounds   holds all that is accepted; empty for everywhere
    /// @throws std::invalid_argument  for an empty function
    explicit FunctionFilter(
        std::function<bool(const Math::Point<float, 3>&)> accepts,
        const Math::NBoundingBox<float, 3>& bounds = {}
    );

    bool testPosition(const Math::Point<float, 3>& point) override;
    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) override;

private:
    std::function<bool(const Math::Point<float, 3>&)> mAccepts;
    Math::NBoundingBox<float, 3> mBounds;
};
}  // namespace Render
