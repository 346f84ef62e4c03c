#pragma once

#include "render/Export.h"
#include "render/pointcloud/IFilter.h"

#include <memory>
#include <vector>

namespace Render
{
/// What lies in all of several regions; of none, the whole space.
class RENDER_API IntersectionFilter final : public IFilter
{
public:
    /// @throws std::invalid_argument  for an empty pointer
    explicit IntersectionFilter(std::vector<std::unique_ptr<IFilter>> filters);
    IntersectionFilter(const IntersectionFilter&) = delete;
    IntersectionFilter& operator=(const IntersectionFilter&) = delete;
    ~IntersectionFilter() override;

    bool testPosition(const Math::Point<float, 3>& point) override;
    Octree::BoxTestResult testBox(const Math::NBoundingBox<float, 3>& box) override;

private:
    std::vector<std::unique_ptr<IFilter>> mFilters;
};
}  // namespace Render
