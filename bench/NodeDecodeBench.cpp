// How close node decoding comes to the speed of the Brotli library alone, on the same bytes and one thread.
//
// "brotliAlone" unpacks every node of a real data set into memory that is ready; "columns" reads, unpacks
// and converts them to arrays; "vertices" goes on to 20-byte vertices. The last two report, besides points
// per second, `ofBrotli`: the median over all rounds of brotliAlone's time divided by theirs, both measured
// in turn within each round.
#include "octree/Octree.h"
#include "octree/potree/FileLoader.h"
#include "octree/potree/PoTreeTree.h"
#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/convertToVertices.h"

#include <benchmark/benchmark.h>
#include <brotli/decode.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace
{
using Octree::OctreeNodeId;

constexpr unsigned kDrawnAttributes =
    Octree::kAllAttributes & ~static_cast<unsigned>(Octree::kNormalAttribute);

/// A data set with the compressed bytes of its nodes in memory.
class DataSet
{
public:
    DataSet()
        : octree(Octree::Location::fromPath(std::filesystem::path(TARNEL_BENCH_DATA) / "autzen_brotli"), 1.0)
    {
        const PoTree::FileSystemLocation location(octree.location().folder());
        const PoTree::PoTreeTree tree(location);
        const PoTree::FileLoader loader(location);
        nodes.push_back(octree.root());
        for (std::size_t i = 0; i < nodes.size(); ++i)
        {
            const Octree::OctreeChildNodeIdRange children = octree.children(nodes[i]);
            nodes.insert(nodes.end(), children.begin(), children.end());
        }
        std::erase_if(nodes, [&](const OctreeNodeId& id) { return octree.nodeInfo(id).pointCount == 0; });

        std::size_t largest = 0;
        for (const OctreeNodeId& id : nodes)
        {
            const auto node = tree.findNode(id, {});
            streams.emplace_back();
            loader.readOctreeChunk(*node, node->byteSize, streams.back(), {});
            pointCount += node->pointCount;
            largest = std::max(largest, std::size_t{node->pointCount} * kBytesPerPoint);
        }
        unpacked.resize(largest);
    }

    void unpackAll()
    {
        for (const std::vector<std::byte>& stream : streams)
        {
            std::size_t size = unpacked.size();
            if (BrotliDecoderDecompress(
                    stream.size(),
                    reinterpret_cast<const std::uint8_t*>(stream.data()),
                    &size,
                    unpacked.data()
                ) != BROTLI_DECODER_RESULT_SUCCESS)
            {
                throw std::runtime_error("a node of the benchmark's data set cannot be unpacked");
            }
            benchmark::DoNotOptimize(unpacked.data());
        }
    }

    void readAllColumns()
    {
        for (const OctreeNodeId& id : nodes)
        {
            octree.readNodePointData(id, points);
            benchmark::DoNotOptimize(points.columns().positions.data());
        }
    }

    void readAllVertices()
    {
        for (const OctreeNodeId& id : nodes)
        {
            Render::convertToVertices(octree, id, vertices, {});
            benchmark::DoNotOptimize(vertices.data());
        }
    }

    Octree::Octree octree;
    std::vector<OctreeNodeId> nodes;
    std::uint64_t pointCount = 0;

private:
    static constexpr std::size_t kBytesPerPoint = 41;

    std::vector<std::vector<std::byte>> streams;
    std::vector<std::uint8_t> unpacked;
    Octree::NodePointData points{kDrawnAttributes};
    Render::VertexContainer vertices;
};

template <class Action>
double secondsOf(Action&& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void countPoints(benchmark::State& state, const DataSet& dataSet)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(dataSet.pointCount) * state.iterations());
}

void brotliAlone(benchmark::State& state)
{
    DataSet dataSet;
    for (const auto round : state)
    {
        dataSet.unpackAll();
    }
    countPoints(state, dataSet);
}

void compareWithBrotli(benchmark::State& state, void (DataSet::*work)())
{
    DataSet dataSet;
    std::vector<double> ratios;
    for (const auto round : state)
    {
        const double alone = secondsOf([&] { dataSet.unpackAll(); });
        const double whole = secondsOf([&] { (dataSet.*work)(); });
        state.SetIterationTime(whole);
        ratios.push_back(alone / whole);
    }
    countPoints(state, dataSet);
    const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
    std::nth_element(ratios.begin(), middle, ratios.end());
    state.counters["ofBrotli"] = *middle;
}

void columns(benchmark::State& state)
{
    compareWithBrotli(state, &DataSet::readAllColumns);
}

void vertices(benchmark::State& state)
{
    compareWithBrotli(state, &DataSet::readAllVertices);
}

BENCHMARK(brotliAlone)->MinTime(2)->Unit(benchmark::kMillisecond);
BENCHMARK(columns)->UseManualTime()->MinTime(2)->Unit(benchmark::kMillisecond);
BENCHMARK(vertices)->UseManualTime()->MinTime(2)->Unit(benchmark::kMillisecond);
}  // namespace
