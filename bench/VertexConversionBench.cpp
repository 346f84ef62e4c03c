// How fast points become 20-byte vertices: from arrays; and Morton codes taken apart, by the plain variant
// and by that for processors with AVX2.

#include "octree/NodePointData.h"
#include "octree/PointBlock.h"
#include "octree/potree/MortonDecoder.h"
#include "render/gpu/VertexContainer.h"
#include "render/pointcloud/convertToVertices.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

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

/// Codes of a node: the upper halves of positions change seldom.
std::vector<std::byte> someCodes(std::size_t count, std::size_t period)
{
    std::mt19937_64 random(1);
    std::vector<std::uint64_t> words(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        words[i] = i % period == 0 ? 0x73 + i / 4096 : random() >> 16U;
    }
    std::vector<std::byte> bytes(count * sizeof(std::uint64_t));
    std::memcpy(bytes.data(), words.data(), bytes.size());
    return bytes;
}

void countBlocks(benchmark::State& state)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(Octree::PointBlock::kCapacity) * state.iterations());
}

void mortonPositions(benchmark::State& state, const PoTree::MortonDecoder* decoder)
{
    if (decoder == nullptr)
    {
        state.SkipWithError("this processor lacks the instructions");
        return;
    }
    constexpr std::size_t kBlocks = 64;
    const std::vector<std::byte> codes = someCodes(2 * kBlocks * Octree::PointBlock::kCapacity, 2);
    const PoTree::PointConversion conversion{{0.001, 0.001, 0.001}, {1.0, 2.0, 3.0}, 1.0, false};
    Octree::PointBlock block;
    std::size_t next = 0;
    for (auto _ : state)
    {
        decoder->positions(
            codes.data() + 16 * next * block.kCapacity,
            block.kCapacity,
            conversion,
            block.x.data(),
            block.y.data(),
            block.z.data()
        );
        benchmark::DoNotOptimize(block.x.data());
        next = (next + 1) % kBlocks;
    }
    countBlocks(state);
}

void mortonColors(benchmark::State& state, const PoTree::MortonDecoder* decoder)
{
    if (decoder == nullptr)
    {
        state.SkipWithError("this processor lacks the instructions");
        return;
    }
    const std::vector<std::byte> codes =
        someCodes(Octree::PointBlock::kCapacity, Octree::PointBlock::kCapacity);
    Octree::PointBlock block;
    for (auto _ : state)
    {
        decoder->colors(codes.data(), block.kCapacity, true, block.colors.data());
        benchmark::DoNotOptimize(block.colors.data());
    }
    countBlocks(state);
}

}  // namespace

BENCHMARK(positionsAndColors)->Arg(2000)->Arg(20000);
BENCHMARK(allAttributes)->Arg(2000)->Arg(20000);
BENCHMARK(allAttributesAndVisibility)->Arg(20000);
BENCHMARK_CAPTURE(mortonPositions, plain, &PoTree::MortonDecoder::plain());
BENCHMARK_CAPTURE(mortonPositions, avx2, PoTree::MortonDecoder::avx2());
BENCHMARK_CAPTURE(mortonColors, plain, &PoTree::MortonDecoder::plain());
BENCHMARK_CAPTURE(mortonColors, avx2, PoTree::MortonDecoder::avx2());
