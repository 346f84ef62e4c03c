// How close the decoding of a COPC file comes to the bare work on the same chunks, on one thread.
//
// "alone" reads the file into memory that is ready and has the LASzip library's reader unpack all chunks of
// it, which it finds by their table: with all fields, or with no more than those that attributes are made of.
// "decoded" reads all nodes to arrays through the octree, "passed" hands their points to a sink that looks at
// none. Compare points per second.
#include "octree/Octree.h"
#include "octree/PointSink.h"
#include "samples/writeSampleDataset.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <laszip/bytestreamin_array.hpp>
#include <laszip/lasreadpoint.hpp>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace
{
using Octree::OctreeNodeId;

constexpr std::size_t kPoints = 500'000;

constexpr unsigned kAllFields = LASZIP_DECOMPRESS_SELECTIVE_ALL;
constexpr unsigned kWantedFields = LASZIP_DECOMPRESS_SELECTIVE_Z |
                                   LASZIP_DECOMPRESS_SELECTIVE_CLASSIFICATION |
                                   LASZIP_DECOMPRESS_SELECTIVE_INTENSITY |
                                   LASZIP_DECOMPRESS_SELECTIVE_POINT_SOURCE | LASZIP_DECOMPRESS_SELECTIVE_RGB;

/// A file that goes away with the object.
class SampleFile
{
public:
    SampleFile()
        : path(std::filesystem::temp_directory_path() / "tarnel-bench.copc.laz"),
          summary(Samples::writeSampleCopc(path, {.points = kPoints}))
    {
    }

    ~SampleFile()
    {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }

    SampleFile(const SampleFile&) = delete;
    SampleFile& operator=(const SampleFile&) = delete;

    std::filesystem::path path;
    Samples::CopcSummary summary;
};

const SampleFile& sampleFile()
{
    static const SampleFile file;
    return file;
}

void countPoints(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(sampleFile().summary.pointCount));
}

void readWhole(std::vector<char>& out)
{
    out.resize(static_cast<std::size_t>(std::filesystem::file_size(sampleFile().path)));
    std::ifstream stream(sampleFile().path, std::ios::binary);
    if (!stream.read(out.data(), static_cast<std::streamsize>(out.size())))
    {
        throw std::runtime_error("the file of the benchmark cannot be read");
    }
}

void unpackAll(const std::vector<char>& stored, unsigned fields)
{
    LASzip compression;
    compression.compressor = LASZIP_COMPRESSOR_LAYERED_CHUNKED;
    compression.chunk_size = std::numeric_limits<U32>::max();  // which says that they vary
    compression.num_items = 2;
    compression.items =
        new LASitem[2]{{LASitem::POINT14, 30, 3}, {LASitem::RGB14, 6, 3}};  // which it deletes
    LASreadPoint reader(fields);
    ByteStreamInArrayLE stream(reinterpret_cast<const U8*>(stored.data()), static_cast<I64>(stored.size()));
    stream.seek(static_cast<I64>(sampleFile().summary.pointsBegin));
    reader.setup(compression.num_items, compression.items, &compression);
    reader.init(&stream);
    alignas(8) std::array<U8, 128> point{};
    alignas(8) std::array<U8, 8> color{};
    const std::array<U8*, 2> items{point.data(), color.data()};
    for (std::uint64_t i = 0; i < sampleFile().summary.pointCount; ++i)
    {
        if (!reader.read(items.data()))
        {
            throw std::runtime_error("the file of the benchmark cannot be unpacked");
        }
        benchmark::DoNotOptimize(point.data());
    }
}

void alone(benchmark::State& state, unsigned fields)
{
    std::vector<char> stored;
    for ([[maybe_unused]] auto round : state)
    {
        readWhole(stored);
        unpackAll(stored, fields);
    }
    countPoints(state);
}

Octree::Octree opened()
{
    return Octree::Octree(Octree::Location::fromPath(sampleFile().path), 1.0);
}

void decoded(benchmark::State& state)
{
    const Octree::Octree octree = opened();
    Octree::NodePointData points;
    for ([[maybe_unused]] auto round : state)
    {
        for (const Samples::WrittenChunk& node : sampleFile().summary.nodes)
        {
            octree.readNodePointData(node.id, points);
            benchmark::DoNotOptimize(points.columns().positions.data());
        }
    }
    countPoints(state);
}

class Unread final : public Octree::PointSink
{
public:
    void begin(std::size_t, std::size_t) override {}

    void take(Octree::PointBlock& block) override { benchmark::DoNotOptimize(&block); }
};

void passed(benchmark::State& state)
{
    const Octree::Octree octree = opened();
    Unread sink;
    for ([[maybe_unused]] auto round : state)
    {
        for (const Samples::WrittenChunk& node : sampleFile().summary.nodes)
        {
            octree.passNodePoints(node.id, Octree::kAllAttributes, sink);
        }
    }
    countPoints(state);
}

BENCHMARK_CAPTURE(alone, allFields, kAllFields)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(alone, wantedFields, kWantedFields)->Unit(benchmark::kMillisecond);
BENCHMARK(decoded)->Unit(benchmark::kMillisecond);
BENCHMARK(passed)->Unit(benchmark::kMillisecond);
}  // namespace
