// How long a selection pass takes when everything that finds room is resident already, as after each small
// camera move: of a data set that fits the budget, and of one of twenty times as many nodes.
//
// The points of the nodes are few on purpose: their copy at the end of a pass is what PublicationBench
// measures.

#include "octree/Octree.h"
#include "render/pointcloud/NodeRankingParameters.h"
#include "render/pointcloud/selectNodes.h"
#include "render/scene/Camera.h"
#include "samples/OctreeWriter.h"
#include "tests/support/TemporaryFolder.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <stop_token>
#include <unordered_set>
#include <vector>

namespace
{
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;

constexpr std::size_t kCloudId = 1;
constexpr std::size_t kPointsPerNode = 2;
constexpr float kRootSize = 1000.0F;
constexpr std::size_t kChildrenPerNode = 4;  // of 8: scanned surfaces fill about half of the children

/// The first nodes, level by level, of a tree in which every node has four children.
std::vector<OctreeNodeId> surfaceNodes(std::size_t nodeCount)
{
    std::vector<OctreeNodeId> ids{OctreeNodeId()};
    for (std::size_t parent = 0; ids.size() < nodeCount; ++parent)
    {
        for (unsigned i = 0; i < kChildrenPerNode && ids.size() < nodeCount; ++i)
        {
            ids.push_back(ids[parent].child(2 * i));
        }
    }
    return ids;
}

/// A tree that answers at once, so that what is left is the pass itself.
class SurfaceTree final : public Render::SelectionTree
{
public:
    explicit SurfaceTree(const std::vector<OctreeNodeId>& ids) : mIds(ids.begin(), ids.end()) {}

    Box boundingCube(const OctreeNodeId& id) const override
    {
        const float size = std::ldexp(kRootSize, -static_cast<int>(id.level()));
        Math::Point<float, 3> min;
        float step = size;
        for (OctreeNodeId node = id; !node.isRoot(); node = node.parent(), step *= 2.0F)
        {
            min.x += (node.childIndex() & 4U) != 0 ? step : 0.0F;
            min.y += (node.childIndex() & 2U) != 0 ? step : 0.0F;
            min.z += (node.childIndex() & 1U) != 0 ? step : 0.0F;
        }
        return Box(min, {min.x + size, min.y + size, min.z + size});
    }

    Octree::OctreeChildNodeIdRange children(const OctreeNodeId& id, std::stop_token) const override
    {
        unsigned mask = 0;
        for (unsigned i = 0; i < kChildrenPerNode; ++i)
        {
            mask |= mIds.contains(id.child(2 * i)) ? 1U << (2 * i) : 0U;
        }
        return {id, mask};
    }

    Octree::NodeVisibilityType nodeVisibility(const OctreeNodeId&, std::stop_token) const override
    {
        return Octree::NodeVisibilityType::PerPoint;
    }

private:
    std::unordered_set<OctreeNodeId> mIds;
};

/// Times passes over a tree of which as many nodes have become resident as find room.
/// @param budget  points
void runPasses(
    benchmark::State& state, const Render::SelectionTree& tree, std::size_t residentCount, std::size_t budget
)
{
    Render::NodePrioritizer prioritizer(budget);
    Core::TripleBuffer<Render::Buffer> buffers;

    Render::Camera camera;
    camera.setViewport(1920, 1080);
    camera.setPose(
        Math::Point<float, 3>(500.0F, 400.0F, 1500.0F),
        Math::Point<float, 3>(500.0F, 500.0F, 500.0F),
        Eigen::Vector3f::UnitY()
    );
    Render::NodeRankingParameters parameters;
    parameters.setCamera(camera, Eigen::Matrix4f::Identity());
    parameters.octreeNodePriorityThreshold = 0.5F;
    const Render::NodeRanking ranking = [&parameters](std::size_t level, const Box& box)
    { return parameters.rank(level, box); };
    Render::VertexContainer cached;
    cached.resize(kPointsPerNode);
    cached.share();
    const Render::VertexSource source =
        [&cached](const OctreeNodeId&, Render::VertexContainer& vertices, std::stop_token)
    {
        vertices = cached;
        return true;
    };
    const Render::SelectionPass pass{
        .prioritizer = prioritizer,
        .cloudId = kCloudId,
        .tree = tree,
        .ranking = ranking,
        .vertexSource = source,
        .buffers = buffers,
        .maxLevel = OctreeNodeId::MAX_REPRESENTABLE_LEVEL,
        .updateInterval = [] { return Render::UpdateInterval(std::chrono::milliseconds(500)); },
        .requestRedraw = [] {},
        .onProgress = {},
    };

    selectNodes(pass, {});
    if (prioritizer.totalUsedPointCount() != residentCount * kPointsPerNode)
    {
        state.SkipWithError("not as many nodes have become resident as find room");
        return;
    }
    for (auto _ : state)
    {
        selectNodes(pass, {});
    }
    state.counters["time_per_node"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * static_cast<double>(residentCount),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert
    );
}

void passOverTreeInMemory(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    runPasses(state, SurfaceTree(surfaceNodes(nodeCount)), nodeCount, 2 * nodeCount * kPointsPerNode);
}

void passOverOctreeOnDisk(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    std::vector<Samples::SampleNode> nodes;
    for (const OctreeNodeId& id : surfaceNodes(nodeCount))
    {
        nodes.push_back({.name = id.name(), .points = std::vector<Samples::SamplePoint>(kPointsPerNode)});
    }
    Samples::OctreeWriterOptions options;
    options.cube = Samples::Cube{{0.0, 0.0, 0.0}, kRootSize};
    const TemporaryFolder folder;
    Samples::writeOctreeNodes(folder.path(), nodes, options);

    const Octree::Octree octree(Octree::Location::fromPath(folder.path()), 1.0);
    runPasses(state, Render::OctreeSelectionTree(octree), nodeCount, 2 * nodeCount * kPointsPerNode);
}

/// A budget that the resident nodes leave a bit of, so that a node that is refused is looked up first.
void passOverTreeBeyondTheBudget(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    const auto residentCount = static_cast<std::size_t>(state.range(1));
    runPasses(state, SurfaceTree(surfaceNodes(nodeCount)), residentCount, residentCount * kPointsPerNode + 1);
}

void nodeCounts(benchmark::internal::Benchmark* benchmark)
{
    for (const int nodeCount : {160, 400, 1000, 2000, 4000, 8000, 16000})
    {
        benchmark->Arg(nodeCount);
    }
    benchmark->Unit(benchmark::kMillisecond);
}
}  // namespace

BENCHMARK(passOverTreeInMemory)->Apply(nodeCounts);
BENCHMARK(passOverOctreeOnDisk)->Apply(nodeCounts);
// nodes of the data set, nodes that find room
BENCHMARK(passOverTreeBeyondTheBudget)
    ->Args({400, 399})
    ->Args({8000, 399})
    ->Args({16000, 399})
    ->Unit(benchmark::kMillisecond);
