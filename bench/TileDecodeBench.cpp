// How close the decoding of Entwine Point Tiles comes to the bare work on the same bytes, on one thread.
//
// One cloud is written as binary and as zstandard tiles. "alone" reads the files into memory that is ready
// and, of zstandard tiles, has the Zstandard library unpack each frame in one call; "decoded" reads all nodes
// to arrays through the octree. Compare points per second.
#include "octree/Octree.h"
#include "samples/EptWriter.h"
#include "samples/writeSampleDataset.h"

#include <benchmark/benchmark.h>
#include <zstd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace
{
using Octree::OctreeNodeId;
using Samples::EptDataType;

constexpr std::size_t kPoints = 500'000;

/// Tiles in a folder that goes away with the object.
class Tiles
{
public:
    explicit Tiles(EptDataType dataType)
        : mFolder(std::filesystem::temp_directory_path() / ("tarnel-bench-tiles-" + suffix(dataType)))
    {
        const Samples::EptSummary summary =
            Samples::writeSampleEpt(mFolder, {.points = kPoints, .dataType = dataType});
        for (const Samples::WrittenTile& tile : summary.tiles)
        {
            if (tile.pointCount > 0)
            {
                nodes.push_back(tile.id);
                files.push_back(mFolder / "ept-data" / (tile.key + '.' + suffix(dataType)));
                pointCount += tile.pointCount;
            }
        }
    }

    ~Tiles()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mFolder, ignored);
    }

    Tiles(const Tiles&) = delete;
    Tiles& operator=(const Tiles&) = delete;

    Octree::Octree open() const { return Octree::Octree(Octree::Location::fromPath(mFolder), 1.0); }

    std::vector<OctreeNodeId> nodes;
    std::vector<std::filesystem::path> files;
    std::uint64_t pointCount = 0;

private:
    static std::string suffix(EptDataType dataType)
    {
        return dataType == EptDataType::Binary ? "bin" : "zst";
    }

    std::filesystem::path mFolder;
};

void countPoints(benchmark::State& state, const Tiles& tiles)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(tiles.pointCount));
}

void readWhole(const std::filesystem::path& file, std::vector<char>& out)
{
    out.resize(static_cast<std::size_t>(std::filesystem::file_size(file)));
    std::ifstream stream(file, std::ios::binary);
    if (!stream.read(out.data(), static_cast<std::streamsize>(out.size())))
    {
        throw std::runtime_error("a tile of the benchmark cannot be read");
    }
}

void alone(benchmark::State& state, EptDataType dataType)
{
    const Tiles tiles(dataType);
    std::vector<char> stored;
    std::vector<char> unpacked(std::size_t{64} << 20U);
    for ([[maybe_unused]] auto round : state)
    {
        for (const std::filesystem::path& file : tiles.files)
        {
            readWhole(file, stored);
            if (dataType == EptDataType::Zstandard &&
                ZSTD_isError(ZSTD_decompress(unpacked.data(), unpacked.size(), stored.data(), stored.size())
                ) != 0)
            {
                throw std::runtime_error("a tile of the benchmark cannot be unpacked");
            }
            benchmark::DoNotOptimize(unpacked.data());
        }
    }
    countPoints(state, tiles);
}

void decoded(benchmark::State& state, EptDataType dataType)
{
    const Tiles tiles(dataType);
    const Octree::Octree octree = tiles.open();
    Octree::NodePointData points;
    for ([[maybe_unused]] auto round : state)
    {
        for (const OctreeNodeId& id : tiles.nodes)
        {
            octree.readNodePointData(id, points);
            benchmark::DoNotOptimize(points.columns().positions.data());
        }
    }
    countPoints(state, tiles);
}

BENCHMARK_CAPTURE(alone, binary, EptDataType::Binary)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decoded, binary, EptDataType::Binary)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(alone, zstandard, EptDataType::Zstandard)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decoded, zstandard, EptDataType::Zstandard)->Unit(benchmark::kMillisecond);
}  // namespace
