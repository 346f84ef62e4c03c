#include "apps/cli/findPoint.h"

#include <octree/NodePointData.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace Cli
{
namespace
{
/// Points may lie outside their node's cube by rounding, and places that pictures tell are floats.
constexpr float kRoom = 1e-4F;  // of the cube's side

bool mayHold(const Octree::Octree& octree, const Octree::OctreeNodeId& id, const Math::Point<float, 3>& place)
{
    const Math::NBoundingBox<float, 3> cube = octree.boundingCube(id);
    const float room = kRoom * octree.boundingCube().largestSize();
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        if (place[axis] < cube.min()[axis] - room || place[axis] > cube.max()[axis] + room)
        {
            return false;
        }
    }
    return true;
}

template <class Value>
std::optional<Value> valueAt(const std::vector<Value>& values, std::size_t i)
{
    return i < values.size() ? std::optional(values[i]) : std::nullopt;
}

void lookInto(
    const Octree::NodePointColumns& points,
    const Math::Point<float, 3>& place,
    std::optional<FoundPoint>& found
)
{
    for (std::size_t i = 0; i < points.positions.size(); ++i)
    {
        const Math::Point<double, 3>& position = points.positions[i];
        const double distance = std::hypot(position.x - place.x, position.y - place.y, position.z - place.z);
        if (!found || distance < found->distance)
        {
            found = FoundPoint{
                distance,
                points.colors[i],
                valueAt(points.intensities, i),
                valueAt(points.classifications, i),
                valueAt(points.scanIndices, i)};
        }
    }
}
}  // namespace

std::optional<FoundPoint> findPoint(const Octree::Octree& octree, const Math::Point<float, 3>& place)
{
    std::optional<FoundPoint> found;
    std::vector<Octree::OctreeNodeId> waiting{octree.root()};
    while (!waiting.empty())
    {
        const Octree::OctreeNodeId id = waiting.back();
        waiting.pop_back();
        if (!mayHold(octree, id, place))
        {
            continue;
        }
        Octree::NodePointData data(Octree::kAllAttributes & ~static_cast<unsigned>(Octree::kNormalAttribute));
        octree.readNodePointData(id, data);
        lookInto(data.columns(), place, found);
        const Octree::OctreeChildNodeIdRange children = octree.children(id);
        waiting.insert(waiting.end(), children.begin(), children.end());
    }
    return found;
}
}  // namespace Cli
