// How fast vertices are gathered for publication, compared with a plain memcpy of as many bytes.
//
// Each iteration times both, so that a busy machine slows both down; the median of the ratios is what counts.

#include "render/pointcloud/NodePrioritizer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stop_token>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;
using Octree::OctreeNodeId;
using Vertex = Render::VertexContainer::Vertex;

constexpr std::size_t kCloudId = 1;
constexpr std::size_t kSlotCount = 3;  // as in the triple buffer

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void fill(Render::NodePrioritizer& prioritizer, std::size_t nodeCount, std::size_t pointsPerNode)
{
    const Render::VertexSource source =
        [pointsPerNode](const OctreeNodeId&, Render::VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(pointsPerNode);
        for (std::size_t i = 0; i < pointsPerNode; ++i)
        {
            vertices.setScanIndex(i, static_cast<unsigned short>(i));
        }
        return true;
    };
    std::vector<OctreeNodeId> ids{OctreeNodeId()};
    for (std::size_t parent = 0; ids.size() < nodeCount; ++parent)
    {
        for (unsigned i = 0; i < 8; ++i)
        {
            ids.push_back(ids[parent].child(i));
        }
    }
    ids.resize(nodeCount);
    bool resident = false;
    for (const OctreeNodeId& id : ids)
    {
        prioritizer.addNode({kCloudId, id}, {}, Render::NodePriority::keep(), source, resident, {});
    }
}

void updateBuffersAgainstMemcpy(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    const auto pointsPerNode = static_cast<std::size_t>(state.range(1));
    const std::size_t pointCount = nodeCount * pointsPerNode;
    Render::NodePrioritizer prioritizer(2 * pointCount);
    fill(prioritizer, nodeCount, pointsPerNode);
    Core::TripleBuffer<Render::Buffer> buffers;
    const std::vector<Vertex> source(pointCount);
    std::vector<std::vector<Vertex>> copies(kSlotCount, std::vector<Vertex>(pointCount));

    // from the second round on every slot has its storage, as in a view that has settled
    for (std::size_t i = 0; i < kSlotCount; ++i)
    {
        prioritizer.updateBuffers(kCloudId, false, buffers);
        buffers.update();
    }

    std::vector<double> ratios;
    double copySeconds = 0.0;
    std::size_t slot = 0;
    for (auto _ : state)
    {
        const Clock::time_point copyStart = Clock::now();
        std::memcpy(copies[slot].data(), source.data(), pointCount * sizeof(Vertex));
        benchmark::DoNotOptimize(copies[slot].data());
        benchmark::ClobberMemory();
        const double copied = secondsSince(copyStart);

        const Clock::time_point updateStart = Clock::now();
        prioritizer.updateBuffers(kCloudId, false, buffers);
        const double updated = secondsSince(updateStart);

        buffers.update();
        slot = (slot + 1) % kSlotCount;
        state.SetIterationTime(updated);
        copySeconds += copied;
        ratios.push_back(copied / updated);
    }

    std::nth_element(
        ratios.begin(), ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2), ratios.end()
    );
    const double bytes =
        static_cast<double>(pointCount * sizeof(Vertex)) * static_cast<double>(state.iterations());
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
    state.counters["memcpy_bytes_per_second"] = bytes / copySeconds;
    state.counters["median_speed_by_memcpy"] = ratios[ratios.size() / 2];
}

/// The first publication of a cloud, when the slots still have to be allocated.
void firstUpdateBuffersAgainstMemcpy(benchmark::State& state)
{
    const auto nodeCount = static_cast<std::size_t>(state.range(0));
    const auto pointsPerNode = static_cast<std::size_t>(state.range(1));
    const std::size_t pointCount = nodeCount * pointsPerNode;
    Render::NodePrioritizer prioritizer(2 * pointCount);
    fill(prioritizer, nodeCount, pointsPerNode);
    const std::vector<Vertex> source(pointCount);

    std::vector<double> ratios;
    for (auto _ : state)
    {
        const Clock::time_point copyStart = Clock::now();
        {
            std::vector<unsigned char> copy;
            copy.reserve(pointCount * sizeof(Vertex));
            std::memcpy(copy.data(), source.data(), pointCount * sizeof(Vertex));
            benchmark::DoNotOptimize(copy.data());
            benchmark::ClobberMemory();
        }
        const double copied = secondsSince(copyStart);

        Core::TripleBuffer<Render::Buffer> buffers;
        const Clock::time_point updateStart = Clock::now();
        prioritizer.updateBuffers(kCloudId, false, buffers);
        const double updated = secondsSince(updateStart);
        state.SetIterationTime(updated);
        ratios.push_back(copied / updated);
    }

    std::nth_element(
        ratios.begin(), ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2), ratios.end()
    );
    state.counters["median_speed_by_memcpy"] = ratios[ratios.size() / 2];
}
}  // namespace

// nodes, points per node
BENCHMARK(updateBuffersAgainstMemcpy)
    ->Args({50, 10000})
    ->Args({400, 5000})
    ->Args({2000, 2500})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(firstUpdateBuffersAgainstMemcpy)->Args({400, 5000})->UseManualTime()->Unit(benchmark::kMillisecond);
