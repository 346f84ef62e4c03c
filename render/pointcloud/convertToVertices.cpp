#include "render/pointcloud/convertToVertices.h"

#include "core/NonCopyable.h"
#include "octree/Octree.h"
#include "render/gpu/VertexContainer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Render
{
namespace
{
constexpr unsigned kDrawnAttributes =
    Octree::kAllAttributes & ~static_cast<unsigned>(Octree::kNormalAttribute);

// Of the scratch memory of each thread: some 9 MB, more than the points of an ordinary node take.
constexpr std::size_t kMaxKeptPoints = std::size_t{1} << 18U;

/// The calling thread's points, reused from node to node; what an exceptionally large node took is given up
/// at the end of the loan.
class PointLoan : private Core::NonCopyable
{
public:
    PointLoan() = default;

    ~PointLoan() { points.columns().releaseAbove(kMaxKeptPoints); }

    Octree::NodePointData& points = perThread();

private:
    static Octree::NodePointData& perThread()
    {
        thread_local Octree::NodePointData scratch(kDrawnAttributes);
        return scratch;
    }
};

/// A column of one attribute, or the same value for every point where the points lack it.
template <class T>
class Column
{
public:
    Column(const std::vector<T>& values, std::size_t pointCount, const T& absent) noexcept
        : mValues(values.size() == pointCount ? values.data() : &absent),
          mStride(values.size() == pointCount ? 1 : 0)
    {
    }

    const T& operator[](std::size_t i) const noexcept { return mValues[i * mStride]; }

private:
    const T* mValues;
    std::size_t mStride;
};
}  // namespace

void convertToVertices(const Octree::NodePointData& points, VertexContainer& vertices)
{
    const Octree::NodePointColumns& columns = points.columns();
    const std::size_t pointCount = points.size();
    const Math::Point<double, 3> origin;
    const Math::Color white = Math::Color::white(255);
    const std::uint16_t noIntensity = 0;
    const std::uint8_t noClass = 0;
    const std::uint32_t noScan = 0;

    const Column positions(columns.positions, pointCount, origin);
    const Column colors(columns.colors, pointCount, white);
    const Column intensities(columns.intensities, pointCount, noIntensity);
    const Column classifications(columns.classifications, pointCount, noClass);
    const Column scanIndices(columns.scanIndices, pointCount, noScan);

    // Counted before, so that hidden points never have a place.
    const std::vector<std::uint8_t>& visibilities = columns.visibilities;
    const bool hasHidden = visibilities.size() == pointCount;
    const std::size_t vertexCount =
        hasHidden
            ? static_cast<std::size_t>(std::count(visibilities.begin(), visibilities.end(), std::uint8_t{0}))
            : pointCount;

    vertices = VertexContainer();
    vertices.resizeForOverwrite(vertexCount);
    VertexContainer::Vertex* out = vertices.data();
    for (std::size_t i = 0; i < pointCount; ++i)
    {
        if (hasHidden && visibilities[i] != 0)
        {
            continue;
        }
        const Math::Point<double, 3>& position = positions[i];
        *out++ = {
            {static_cast<float>(position.x), static_cast<float>(position.y), static_cast<float>(position.z)},
            colors[i],
            static_cast<std::uint8_t>(intensities[i] >> 8U),
            classifications[i],
            static_cast<std::uint16_t>(scanIndices[i] & 0xFFFFU)};
    }
    vertices.share();
}

bool convertToVertices(
    const Octree::Octree& octree,
    const Octree::OctreeNodeId& id,
    VertexContainer& vertices,
    std::stop_token stopToken
)
{
    const PointLoan scratch;
    if (!octree.readNodePointData(id, scratch.points, std::move(stopToken)))
    {
        return false;
    }
    convertToVertices(scratch.points, vertices);
    return true;
}
}  // namespace Render
