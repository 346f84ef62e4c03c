#include "render/pointcloud/greyHistogram.h"

#include "render/gpu/VertexContainer.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <stdexcept>
#include <stop_token>
#include <utility>

namespace Render
{
namespace
{
constexpr std::uint64_t kDeepestLevel = 4;

std::uint8_t shownGrey(const VertexContainer::Vertex& vertex, RenderMode renderMode)
{
    if (renderMode == RenderMode::ColorizeByIntensity)
    {
        return vertex.intensity;
    }
    return static_cast<std::uint8_t>((vertex.color.r() + vertex.color.g() + vertex.color.b()) / 3);
}
}  // namespace

BrightnessHistogram greyHistogram(
    const SelectionTree& tree, const VertexSource& vertexSource, RenderMode renderMode
)
{
    BrightnessHistogram histogram;
    VertexContainer vertices;
    std::deque<Octree::OctreeNodeId> queue{Octree::OctreeNodeId{}};
    try
    {
        while (!queue.empty() && vertexSource(queue.front(), vertices, std::stop_token()))
        {
            for (std::size_t i = 0; i < vertices.size(); ++i)
            {
                histogram.add(shownGrey(std::as_const(vertices).data()[i], renderMode));
            }
            if (queue.front().level() < kDeepestLevel)
            {
                const Octree::OctreeChildNodeIdRange children =
                    tree.children(queue.front(), std::stop_token());
                queue.insert(queue.end(), children.begin(), children.end());
            }
            queue.pop_front();
        }
    }
    catch (const std::runtime_error&)
    {
        // the nodes so far
    }
    return histogram;
}
}  // namespace Render
