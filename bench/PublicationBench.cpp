// How long a publication takes: of the same nodes as before, with one node more, and of nodes that are all
// new.
//
// What a frame then uploads is not part of it.

#include "render/pointcloud/NodePrioritizer.h"

#include <benchmark/benchmark.h>

#include <stop_token>
#include <vector>

namespace
{
using Octree::OctreeNodeId;

constexpr std::size_t kCloudId = 1;
constexpr std::size_t kPointsPerNode = 2500;

/// The first nodes of a full octree, level by level.
std::vector<OctreeNodeId> firstNodes(std::size_t nodeCount)
{
    std::vector<OctreeNodeId> ids{OctreeNodeId()};
    for (std::size_t parent = 0; ids.size() < nodeCount; ++parent)
    {
        for (unsigned i = 0; i < 8; ++i)
        {
            ids.push_back(ids[parent].child(i));
        }
    }
    ids.resize(nodeCount);
    return ids;
}

void add(Render::NodePrioritizer& prioritizer, const OctreeNodeId& id)
{
    const Render::VertexSource source =
        [](const OctreeNodeId&, Render::VertexContainer& vertices, std::stop_token)
    {
        vertices.resize(kPointsPerNode);
        return true;
    };
    bool resident = false;
    prioritizer.addNode({kCloudId, id}, {}, Render::NodePriority::keep(), source, resident, {});
}

void nothingNew(benchmark::State& state)
{
    const std::vector<OctreeNodeId> ids = firstNodes(static_cast<std::size_t>(state.range(0)));
    Render::NodePrioritizer prioritizer(2 * ids.size() * kPointsPerNode);
    for (const OctreeNodeId& id : ids)
    {
        add(prioritizer, id);
    }
    Core::TripleBuffer<Render::Buffer> buffers;
    for (auto _ : state)
    {
        prioritizer.updateBuffers(kCloudId, false, buffers);
        buffers.update();
    }
}

void oneNodeMore(benchmark::State& state)
{
    const std::vector<OctreeNodeId> ids = firstNodes(static_cast<std::size_t>(state.range(0)));
    Render::NodePrioritizer prioritizer(2 * ids.size() * kPointsPerNode);
    Core::TripleBuffer<Render::Buffer> buffers;
    std::size_t next = ids.size();
    for (auto _ : state)
    {
        state.PauseTiming();
        if (next == ids.size())
        {
            prioritizer.clear();
            for (next = 0; next < ids.size() / 2; ++next)
            {
                add(prioritizer, ids[next]);
            }
        }
        add(prioritizer, ids[next++]);
        state.ResumeTiming();
        prioritizer.updateBuffers(kCloudId, false, buffers);
        buffers.update();
    }
}

void allNew(benchmark::State& state)
{
    const std::vector<OctreeNodeId> ids = firstNodes(static_cast<std::size_t>(state.range(0)));
    Render::NodePrioritizer prioritizer(2 * ids.size() * kPointsPerNode);
    Core::TripleBuffer<Render::Buffer> buffers;
    for (auto _ : state)
    {
        state.PauseTiming();
        prioritizer.clear();
        for (const OctreeNodeId& id : ids)
        {
            add(prioritizer, id);
        }
        state.ResumeTiming();
        prioritizer.updateBuffers(kCloudId, false, buffers);
        buffers.update();
    }
}
}  // namespace

BENCHMARK(nothingNew)->Arg(50)->Arg(400)->Arg(4000)->Unit(benchmark::kMicrosecond);
BENCHMARK(oneNodeMore)->Arg(400)->Iterations(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(allNew)->Arg(400)->Iterations(50)->Unit(benchmark::kMicrosecond);
