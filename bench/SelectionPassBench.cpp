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

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <unordered_set>
#include <utility>
#include <vector>

namespace
{
using Octree::OctreeNodeId;
using Box = Math::NBoundingBox<float, 3>;

constexpr std::size_t kCloudId = 1;
constexpr std::size_t kPointsPerNode = 2;
const Math::Point<float, 3> kAbove(500.0F, 400.0F, 1500.0F);  // where nodes of a level are of nearly one size
const Math::Point<float, 3> kOblique(500.0F, -1200.0F, 900.0F);  // as one looks at a landscape
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
        return {id, childMask(id)};
    }

    Octree::NodeVisibilityType nodeVisibility(const OctreeNodeId&, std::stop_token) const override
    {
        return Octree::NodeVisibilityType::PerPoint;
    }

    std::optional<std::size_t> exactPointCount(const OctreeNodeId&, std::stop_token) const override
    {
        return kPointsPerNode;
    }

    std::optional<Octree::ChildSummary> childSummary(const OctreeNodeId& id, std::stop_token) const override
    {
        return Octree::ChildSummary{childMask(id), kPointsPerNode};
    }

private:
    unsigned childMask(const OctreeNodeId& id) const
    {
        unsigned mask = 0;
        for (unsigned i = 0; i < kChildrenPerNode; ++i)
        {
            mask |= mIds.contains(id.child(2 * i)) ? 1U << (2 * i) : 0U;
        }
        return mask;
    }

    std::unordered_set<OctreeNodeId> mIds;
};

template <class Action>
double secondsOf(const Action& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Passes over a tree of which as many nodes have become resident as find room.
class Passes
{
public:
    /// @param budget  points
    /// @param eye  in the tree's frame; the camera looks at its middle
    Passes(const Render::SelectionTree& tree, std::size_t budget, const Math::Point<float, 3>& eye = kAbove)
        : mTree(tree), mPrioritizer(budget)
    {
        Render::Camera camera;
        camera.setViewport(1920, 1080);
        camera.setPose(eye, Math::Point<float, 3>(500.0F, 500.0F, 500.0F), Eigen::Vector3f::UnitY());
        mParameters.setCamera(camera, Eigen::Matrix4f::Identity());
        mParameters.octreeNodePriorityThreshold = 0.5F;
        mCached.resize(kPointsPerNode);
        mCached.share();
        runOne();
    }

    std::size_t residentPoints() const { return mPrioritizer.totalUsedPointCount(); }

    void runOne() { selectNodes(mPass, {}); }

private:
    const Render::SelectionTree& mTree;
    Render::NodePrioritizer mPrioritizer;
    Core::TripleBuffer<Render::Buffer> mBuffers;
    Render::NodeRankingParameters mParameters;
    Render::VertexContainer mCached;
    const Render::NodeRanking mRanking = [this](std::size_t level, const Box& box)
    { return mParameters.rank(level, box); };
    const Render::VertexSource mSource =
        [this](const OctreeNodeId&, Render::VertexContainer& vertices, std::stop_token)
    {
        vertices = mCached;
        return true;
    };
    const Render::SelectionPass mPass{
        .prioritizer = mPrioritizer,
        .cloudId = kCloudId,
        .tree = mTree,
        .ranking = mRanking,
        .vertexSource = mSource,
        .buffers = mBuffers,
        .maxLevel = OctreeNodeId::MAX_REPRESENTABLE_LEVEL,
        .updateInterval = [] { return Render::UpdateInterval(std::chrono::milliseconds(500)); },
        .requestRedraw = [] {},
        .onProgress = {},
        .childrenBound = [this](std::size_t level, const Box& box, unsigned mask)
        { return mParameters.mostOfChildren(level, box, mask); },
    };
};

/// @param budget  points
void runPasses(
    benchmark::State& state, const Render::SelectionTree& tree, std::size_t residentCount, std::size_t budget
)
{
    Passes passes(tree, budget);
    if (passes.residentPoints() != residentCount * kPointsPerNode)
    {
        state.SkipWithError("not as many nodes have become resident as find room");
        return;
    }
    for (auto _ : state)
    {
        passes.runOne();
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

/// An octree of these nodes in a folder of its own.
class WrittenOctree
{
public:
    explicit WrittenOctree(std::size_t nodeCount) : mOctree(written(mFolder.path(), nodeCount), 1.0) {}

    const Render::SelectionTree& tree() const { return mTree; }

private:
    static Octree::Location written(const std::filesystem::path& folder, std::size_t nodeCount);

    TemporaryFolder mFolder;
    Octree::Octree mOctree;
    Render::OctreeSelectionTree mTree{mOctree};
};

Octree::Location WrittenOctree::written(const std::filesystem::path& folder, std::size_t nodeCount)
{
    std::vector<Samples::SampleNode> nodes;
    for (const OctreeNodeId& id : surfaceNodes(nodeCount))
    {
        nodes.push_back({.name = id.name(), .points = std::vector<Samples::SamplePoint>(kPointsPerNode)});
    }
    Samples::OctreeWriterOptions options;
    options.cube = Samples::Cube{{0.0, 0.0, 0.0}, kRootSize};
    Samples::writeOctreeNodes(folder, nodes, options);
    return Octree::Location::fromPath(folder);
}

void passOverOctreeOnDisk(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    const WrittenOctree octree(nodeCount);
    runPasses(state, octree.tree(), nodeCount, 2 * nodeCount * kPointsPerNode);
}

/// A budget that the resident nodes leave a bit of, so that a node that is refused is looked up first.
void passOverTreeBeyondTheBudget(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    const auto residentCount = static_cast<std::size_t>(state.range(1));
    runPasses(state, SurfaceTree(surfaceNodes(nodeCount)), residentCount, residentCount * kPointsPerNode + 1);
}

/// A data set far beyond the budget, on disk; "ofSmall" is the median of its passes' time divided by that of
/// a data set of which nearly all finds room, both measured in turn.
void passOverLargeOctreeOnDisk(benchmark::State& state)
{
    constexpr std::size_t kResident = 399;
    constexpr std::size_t kBudget = kResident * kPointsPerNode + 1;
    const WrittenOctree smallOctree(kResident + 1);
    const WrittenOctree largeOctree(static_cast<std::size_t>(state.range(0)));
    const Math::Point<float, 3>& eye = state.range(1) != 0 ? kOblique : kAbove;
    Passes small(smallOctree.tree(), kBudget, eye);
    Passes large(largeOctree.tree(), kBudget, eye);
    if (small.residentPoints() != kResident * kPointsPerNode ||
        large.residentPoints() != small.residentPoints())
    {
        state.SkipWithError("not as many nodes have become resident as find room");
        return;
    }
    std::vector<double> ratios;
    for (auto _ : state)
    {
        const double ofSmall = secondsOf([&] { small.runOne(); });
        const double ofLarge = secondsOf([&] { large.runOne(); });
        state.SetIterationTime(ofLarge);
        ratios.push_back(ofLarge / ofSmall);
    }
    const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
    std::nth_element(ratios.begin(), middle, ratios.end());
    state.counters["ofSmall"] = *middle;
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
// nodes of the data set; from above, or oblique
BENCHMARK(passOverLargeOctreeOnDisk)
    ->Args({8000, 0})
    ->Args({8000, 1})
    ->Args({16000, 1})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
