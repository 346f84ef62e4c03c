#include "fuzz/walkOctree.h"

#include "fuzz/FuzzInput.h"
#include "octree/Octree.h"
#include "octree/PointBlock.h"
#include "octree/PointSink.h"
#include "octree/kMaxPointsPerNode.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace Fuzz
{
namespace
{
constexpr std::size_t kMostNodes = 12;

void check(const Octree::NodePointColumns& columns)
{
    if (columns.pointCount > Octree::kMaxPointsPerNode)
    {
        throw BrokenPromise("more points than a node may have");
    }
    const auto checkSize = [&](std::size_t size)
    {
        if (size != 0 && size != columns.pointCount)
        {
            throw BrokenPromise("a column of another length");
        }
    };
    checkSize(columns.positions.size());
    checkSize(columns.colors.size());
    checkSize(columns.intensities.size());
    checkSize(columns.classifications.size());
    checkSize(columns.scanIndices.size());
    checkSize(columns.visibilities.size());
    checkSize(columns.normals.size());
    checkSize(columns.returnNumbers.size());
    checkSize(columns.returnCounts.size());
    checkSize(columns.gpsTimes.size());
    checkSize(columns.pointSources.size());
    checkSize(columns.userData.size());
    checkSize(columns.scanAngles.size());
    for (const Math::Point<double, 3>& position : columns.positions)
    {
        if (!std::isfinite(position.x) || !std::isfinite(position.y) || !std::isfinite(position.z))
        {
            throw BrokenPromise("a position that is not finite");
        }
    }
}

/// Notices blocks that do not add up to the points that were announced.
class CountingSink final : public Octree::PointSink
{
public:
    void begin(std::size_t pointCount, std::size_t visibleCount) override
    {
        mLeft = pointCount;
        mVisibleLeft = visibleCount;
    }

    void take(Octree::PointBlock& block) override
    {
        const std::span visibilities(block.visibilities.data(), block.pointCount);
        const auto visible = static_cast<std::size_t>(std::ranges::count(visibilities, std::uint8_t{0}));
        if (block.pointCount == 0 || block.pointCount > mLeft || visible > mVisibleLeft)
        {
            throw BrokenPromise("a block without points or with more than were announced");
        }
        mLeft -= block.pointCount;
        mVisibleLeft -= visible;
    }

    void checkEnd() const
    {
        if (mLeft != 0 || mVisibleLeft != 0)
        {
            throw BrokenPromise("fewer points than were announced");
        }
    }

private:
    std::size_t mLeft = 0;
    std::size_t mVisibleLeft = 0;
};

/// Both ways of reading a node.
void readBoth(const Octree::Octree& octree, const Octree::OctreeNodeId& id, Octree::NodePointData& data)
{
    CountingSink sink;
    bool passed = false;
    try
    {
        octree.passNodePoints(id, Octree::kAllAttributes, sink);
        passed = true;
        sink.checkEnd();
    }
    catch (const std::runtime_error& error)
    {
        checkMessage(error.what());
    }
    octree.readNodePointData(id, data);
    if (!passed)
    {
        throw BrokenPromise("arrays of a node that cannot be passed on");
    }
    check(data.columns());
}
}  // namespace

void walkOctree(const Octree::Location& location)
{
    try
    {
        const Octree::Octree octree(location, 1.0);
        std::vector<Octree::OctreeNodeId> nodes{octree.root()};
        Octree::NodePointData data(Octree::kAllAttributes | Octree::kRecordAttributes);
        for (std::size_t i = 0; i < nodes.size() && i < kMostNodes; ++i)
        {
            try
            {
                readBoth(octree, nodes[i], data);
            }
            catch (const std::runtime_error& error)
            {
                checkMessage(error.what());
            }
            for (const Octree::OctreeNodeId& child : octree.children(nodes[i]))
            {
                nodes.push_back(child);
            }
        }
    }
    catch (const std::runtime_error& error)
    {
        checkMessage(error.what());
    }
}
}  // namespace Fuzz
