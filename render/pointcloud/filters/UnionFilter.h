#pragma once

#include "render/Export.h"
#include "render/pointcloud/IFilter.h"

#include <memory>
#include <vector>

namespace Render
{
/// What lies in one region at least; nothing without any.
class RENDER_API UnionFilter final : public IFilter
{
public:
    /// @throws std::invalid_argument  when a filter is missing
    explicit UnionFilter(std::vector<std::unique_ptr<IFilter>> filters);

    bool testPosition(const Math::Point<float, 3>& point) override;
    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) override;

private:
    std::vector<std::unique_ptr<IFilter>> mFilters;
};
}  // namespace Render
