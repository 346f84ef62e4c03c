// How fast decoded points become 20-byte vertices.

#include "octree/NodePointData.h"
#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/convertToVertices.h"

#include <benchmark/benchmark.h>

#include <cstdint>

namespace
{
Octree::NodePointData somePoints(std::size_t pointCount)
{
    Octree::NodePointData points;
    Octree::NodePointColumns& columns = points.columns();
    columns.pointCount = pointCount;
    for (std::size_t i = 0; i < pointCount; ++i)
    {
        const auto value = static_cast<double>(i);
        columns.positions.emplace_back(value * 0.001, value * 0.002, value * 0.003);
        columns.colors.emplace_back(static_cast<unsigned int>(i));
    }
    return points;
}

void addAttributes(Octree::NodePointData& points)
{
    Octree::NodePointColumns& columns = points.columns();
    for (std::size_t i = 0; i < columns.pointCount; ++i)
    {
        columns.intensities.push_back(static_cast<std::uint16_t>(i));
        columns.classifications.push_back(static_cast<std::uint8_t>(i));
        columns.scanIndices.push_back(static_cast<std::uint32_t>(i));
    }
}

void convert(benchmark::State& state, const Octree::NodePointData& points)
{
    for (auto _ : state)
    {
        Render::VertexContainer vertices;
        Render::convertToVertices(points, vertices);
        benchmark::DoNotOptimize(vertices.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(points.size()) * state.iterations());
}

void positionsAndColors(benchmark::State& state)
{
    convert(state, somePoints(static_cast<std::size_t>(state.range(0))));
}

void allAttributes(benchmark::State& state)
{
    Octree::NodePointData points = somePoints(static_cast<std::size_t>(state.range(0)));
    addAttributes(points);
    convert(state, points);
}

/// Every tenth point is hidden.
void allAttributesAndVisibility(benchmark::State& state)
{
    Octree::NodePointData points = somePoints(static_cast<std::size_t>(state.range(0)));
    addAttributes(points);
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        points.columns().visibilities.push_back(i % 10 == 0 ? 1 : 0);
    }
    convert(state, points);
}
}  // namespace

BENCHMARK(positionsAndColors)->Arg(2000)->Arg(20000);
BENCHMARK(allAttributes)->Arg(2000)->Arg(20000);
BENCHMARK(allAttributesAndVisibility)->Arg(20000);
