#include "fuzz/walkOctree.h"

#include "fuzz/FuzzInput.h"
#include "octree/Octree.h"
#include "octree/kMaxPointsPerNode.h"

#include <cmath>
#include <cstddef>
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
    for (const Math::Point<double, 3>& position : columns.positions)
    {
        if (!std::isfinite(position.x) || !std::isfinite(position.y) || !std::isfinite(position.z))
        {
            throw BrokenPromise("a position that is not finite");
        }
    }
}
}  // namespace

void walkOctree(const Octree::Location& location)
{
    try
    {
        const Octree::Octree octree(location, 1.0);
        std::vector<Octree::OctreeNodeId> nodes{octree.root()};
        Octree::NodePointData data;
        for (std::size_t i = 0; i < nodes.size() && i < kMostNodes; ++i)
        {
            try
            {
                octree.readNodePointData(nodes[i], data);
                check(data.columns());
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
