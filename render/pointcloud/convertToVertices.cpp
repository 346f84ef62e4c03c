#include "render/pointcloud/convertToVertices.h"

#include "octree/Octree.h"
#include "octree/PointBlock.h"
#include "octree/PointSink.h"
#include "octree/passColumns.h"
#include "render/gpu/VertexContainer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace Render
{
namespace
{
/// Makes vertices of the points of one node.
class VertexSink final : public Octree::PointSink
{
public:
    explicit VertexSink(
        VertexContainer& out, const std::optional<Octree::IntensityRange>& intensityRange = {}
    ) noexcept
        : mOut(out), mIntensityRange(intensityRange)
    {
    }

    void begin(std::size_t, std::size_t visibleCount) override
    {
        mOut = VertexContainer();
        mOut.resizeForOverwrite(visibleCount);  // hidden points never have a place
        mNext = mOut.data();
    }

    void take(Octree::PointBlock& block) override
    {
        if (!Octree::hasColor(block.attributes))
        {
            std::fill_n(block.colors.begin(), block.pointCount, Math::Color::white(255));
        }
        const auto visibilities = block.visibilities.begin();
        const auto end = visibilities + static_cast<std::ptrdiff_t>(block.pointCount);
        if (std::all_of(visibilities, end, [](std::uint8_t value) { return value == 0; }))
        {
            for (std::size_t i = 0; i < block.pointCount; ++i)
            {
                *mNext++ = vertexOf(block, i);
            }
        }
        else
        {
            for (std::size_t i = 0; i < block.pointCount; ++i)
            {
                if (block.visibilities[i] == 0)
                {
                    *mNext++ = vertexOf(block, i);
                }
            }
        }
        if (mIntensityRange)
        {
            spreadIntensities(block);
        }
    }

private:
    // Instructions for four points at a time were measured no faster than what the compiler makes of this.
    static VertexContainer::Vertex vertexOf(const Octree::PointBlock& block, std::size_t i) noexcept
    {
        return {
            {static_cast<float>(block.x[i]), static_cast<float>(block.y[i]), static_cast<float>(block.z[i])},
            block.colors[i],
            static_cast<std::uint8_t>(block.intensities[i] >> 8U),
            block.classifications[i],
            static_cast<std::uint16_t>(block.scanIndices[i] & 0xFFFFU)};
    }

    /// Of the block's vertices, which are the last ones.
    void spreadIntensities(const Octree::PointBlock& block) noexcept
    {
        VertexContainer::Vertex* vertex = mNext;
        for (std::size_t i = block.pointCount; i > 0; --i)
        {
            if (block.visibilities[i - 1] == 0)
            {
                (--vertex)->intensity = mIntensityRange->toByte(block.intensities[i - 1]);
            }
        }
    }

    VertexContainer& mOut;
    std::optional<Octree::IntensityRange> mIntensityRange;
    VertexContainer::Vertex* mNext = nullptr;
};
}  // namespace

void convertToVertices(const Octree::NodePointData& points, VertexContainer& vertices)
{
    VertexSink sink(vertices);
    Octree::passColumns(points.columns(), sink);
    vertices.share();
}

bool convertToVertices(
    const Octree::Octree& octree,
    const Octree::OctreeNodeId& id,
    VertexContainer& vertices,
    std::stop_token stopToken
)
{
    VertexSink sink(vertices, octree.shownIntensityRange());
    if (!octree.passNodePoints(id, kDrawnAttributes, sink, std::move(stopToken)))
    {
        return false;
    }
    vertices.share();
    return true;
}
}  // namespace Render
