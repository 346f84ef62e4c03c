#include "apps/cli/HierarchyStatistics.h"

#include "apps/cli/Progress.h"

#include <deque>

namespace Cli
{
void visitNodes(const Octree::Octree& octree, const std::function<bool(const Octree::NodeInfo&)>& visitor)
{
    std::deque<Octree::OctreeNodeId> queue{octree.root()};
    while (!queue.empty())
    {
        const Octree::NodeInfo node = octree.nodeInfo(queue.front());
        queue.pop_front();
        if (!visitor(node))
        {
            return;
        }
        for (const Octree::OctreeNodeId& child : Octree::OctreeChildNodeIdRange(node.id, node.childMask))
        {
            queue.push_back(child);
        }
    }
}

HierarchyStatistics countHierarchy(const Octree::Octree& octree)
{
    HierarchyStatistics statistics;
    Progress progress("reading hierarchy", 0, "nodes");
    visitNodes(
        octree,
        [&](const Octree::NodeInfo& node)
        {
            const std::uint64_t level = node.id.level();
            if (statistics.levels.size() <= level)
            {
                statistics.levels.resize(level + 1);
            }
            ++statistics.nodes;
            statistics.points += node.pointCount;
            ++statistics.levels[level].nodes;
            statistics.levels[level].points += node.pointCount;
            progress.update(statistics.nodes);
            return true;
        }
    );
    return statistics;
}
}  // namespace Cli
