#pragma once

#include "apps/cli/AttributeOptions.h"
#include "apps/cli/RegionOptions.h"
#include <octree/Octree.h>
#include <render/pointcloud/PointCloudQuery.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Cli
{
/// Which points of data sets are wanted.
struct SearchOptions
{
    RegionOptions region;
    AttributeOptions attributes;
    std::uint64_t maxLevel = Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL;
    float minSpacing = 0.0F;
};

/// Refuses options for what a data set does not have, and notes what counts as 0.
/// @throws std::runtime_error  naming the data set
void checkAttributes(const AttributeOptions& options, const Octree::Octree& octree);

/// Hands out the wanted points of one data set, chunk by chunk, coarse levels first, without drawing anything.
class PointSearch
{
public:
    /// @param filter            null for all points; several searches may share one, which then counts on
    /// @param recordAttributes  what points are wanted with beside what they always have
    /// @throws CLI::ParseError     for a region that makes no sense
    /// @throws std::runtime_error  naming the file of a polygon and what is wrong
    PointSearch(
        const SearchOptions& options,
        const std::shared_ptr<Octree::Octree>& octree,
        const std::shared_ptr<Render::IAttributeFilter>& filter,
        unsigned recordAttributes,
        std::chrono::nanoseconds timeout
    );

    /// @param points  the next ones, relative to the data set's reference position
    /// @return false when there are no more, or the time is over; there may be points all the same
    bool next(Octree::NodePointColumns& points);

    /// Whether all points have been handed out.
    bool isFinished() const noexcept { return mQuery.isFinished(); }

private:
    Render::PointCloudQuery mQuery;
};
}  // namespace Cli
