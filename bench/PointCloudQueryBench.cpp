// What queries cost beside the decoding of nodes.
//
// "decode" reads all nodes of a real data set and nothing else. "everythingInside" queries all points with an
// empty cache; `ofDecode` is the median over all rounds of decode's time divided by its own, measured in turn
// within each round. "testedBox" queries with a full cache and a box that cuts every node, so that each point
// is tested; points per second count the tested ones, on one thread. "copiedFromCache" is the same without
// tests.
#include "octree/Octree.h"
#include "render/pointcloud/PointCloudQuery.h"
#include "render/pointcloud/filters/BoxFilter.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <vector>

namespace
{
using Box = Math::NBoundingBox<float, 3>;
using Octree::BoxTestResult;
using Octree::OctreeNodeId;

constexpr std::size_t kChunkSize = std::size_t{1} << 16U;

std::shared_ptr<Octree::Octree> openDataSet()
{
    return std::make_shared<Octree::Octree>(
        Octree::Location::fromPath(std::filesystem::path(TARNEL_BENCH_DATA) / "autzen_brotli"), 1.0
    );
}

std::vector<OctreeNodeId> allNodes(const Octree::Octree& octree)
{
    std::vector<OctreeNodeId> nodes{octree.root()};
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        const Octree::OctreeChildNodeIdRange children = octree.children(nodes[i]);
        nodes.insert(nodes.end(), children.begin(), children.end());
    }
    return nodes;
}

std::shared_ptr<Render::PointCloudQuery::PointCache> newCache()
{
    return std::make_shared<Render::PointCloudQuery::PointCache>(2'000'000, 4000);
}

/// Holds every box, or cuts every box and tests the points against one.
class BenchFilter final : public Render::IFilter
{
public:
    BenchFilter(BoxTestResult result, const Box& box) : mResult(result), mBox(box) {}

    bool testPosition(const Math::Point<float, 3>& point) override { return mBox.testPosition(point); }

    BoxTestResult testBox(const Box&) override { return mResult; }

private:
    BoxTestResult mResult;
    Render::BoxFilter mBox;
};

/// The middle half of the points' bounds on each axis.
Box middleOf(const Box& bounds)
{
    const auto at = [&bounds](float fraction)
    {
        Math::Point<float, 3> point;
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            point[axis] = bounds.min()[axis] + fraction * bounds.size(axis);
        }
        return point;
    };
    return {at(0.25F), at(0.75F)};
}

/// Queries and measures what it costs.
class QueryRun
{
public:
    QueryRun() : octree(openDataSet()), cache(newCache()), chunk(kChunkSize) {}

    void query(BoxTestResult result)
    {
        Render::PointCloudQuery query(
            octree,
            cache,
            Eigen::Matrix4f::Identity(),
            new BenchFilter(result, middleOf(octree->boundingBox())),
            OctreeNodeId::MAX_REPRESENTABLE_LEVEL,
            0.0F,
            std::chrono::nanoseconds::max()
        );
        while (!query.isFinished())
        {
            benchmark::DoNotOptimize(query.getNextPointChunk(chunk.data(), chunk.size()));
        }
    }

    std::shared_ptr<Octree::Octree> octree;
    std::shared_ptr<Render::PointCloudQuery::PointCache> cache;

private:
    std::vector<Render::VertexPosColor> chunk;
};

void readAll(
    const Octree::Octree& octree, const std::vector<OctreeNodeId>& nodes, Octree::NodePointData& points
)
{
    for (const OctreeNodeId& id : nodes)
    {
        octree.readNodePointData(id, points);
        benchmark::DoNotOptimize(points.columns().positions.data());
    }
}

std::uint64_t countPoints(const Octree::Octree& octree)
{
    std::uint64_t count = 0;
    for (const OctreeNodeId& id : allNodes(octree))
    {
        count += octree.nodeInfo(id).pointCount;
    }
    return count;
}

void reportPoints(benchmark::State& state, const Octree::Octree& octree)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(countPoints(octree)) * state.iterations());
}

template <class Action>
double secondsOf(Action&& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void decode(benchmark::State& state)
{
    const std::shared_ptr<Octree::Octree> octree = openDataSet();
    const std::vector<OctreeNodeId> nodes = allNodes(*octree);
    Octree::NodePointData points;
    for (const auto round : state)
    {
        readAll(*octree, nodes, points);
    }
    reportPoints(state, *octree);
}

void everythingInside(benchmark::State& state)
{
    QueryRun run;
    const std::vector<OctreeNodeId> nodes = allNodes(*run.octree);
    Octree::NodePointData points;
    std::vector<double> ratios;
    for (const auto round : state)
    {
        run.cache->clear();
        const double decoding = secondsOf([&] { readAll(*run.octree, nodes, points); });
        const double querying = secondsOf([&] { run.query(BoxTestResult::Inside); });
        state.SetIterationTime(querying);
        ratios.push_back(decoding / querying);
    }
    reportPoints(state, *run.octree);
    const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
    std::nth_element(ratios.begin(), middle, ratios.end());
    state.counters["ofDecode"] = *middle;
}

void queryFromCache(benchmark::State& state, BoxTestResult result)
{
    QueryRun run;
    run.query(BoxTestResult::Inside);  // fills the cache
    for (const auto round : state)
    {
        run.query(result);
    }
    reportPoints(state, *run.octree);
}

void copiedFromCache(benchmark::State& state)
{
    queryFromCache(state, BoxTestResult::Inside);
}

void testedBox(benchmark::State& state)
{
    queryFromCache(state, BoxTestResult::Border);
}

BENCHMARK(decode)->MinTime(1)->Unit(benchmark::kMillisecond);
BENCHMARK(everythingInside)->UseManualTime()->MinTime(1)->Unit(benchmark::kMillisecond);
BENCHMARK(copiedFromCache)->MinTime(1)->Unit(benchmark::kMillisecond);
BENCHMARK(testedBox)->MinTime(1)->Unit(benchmark::kMillisecond);
}  // namespace
