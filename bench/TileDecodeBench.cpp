// How close the decoding of Entwine Point Tiles comes to the bare work on the same bytes, on one thread.
//
// One cloud is written as binary, zstandard and laszip tiles, the last of point format 7. "alone" reads the
// files into memory that is ready and has the Zstandard library unpack each frame in one call, or the LASzip
// library each point with all its fields; "decoded" reads all nodes to arrays through the octree. Compare
// points per second.
#include "bench/compressTiles.h"
#include "octree/Octree.h"
#include "samples/EptWriter.h"
#include "samples/writeSampleDataset.h"

#include <benchmark/benchmark.h>
#include <zstd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <laszip/bytestreamin_array.hpp>
#include <laszip/lasreadpoint.hpp>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace
{
using Octree::OctreeNodeId;
using Samples::EptDataType;

constexpr std::size_t kPoints = 500'000;

enum class Kind
{
    Binary,
    Zstandard,
    Laszip,
};

/// Tiles in a folder that goes away with the object.
class Tiles
{
public:
    explicit Tiles(Kind kind)
        : mFolder(std::filesystem::temp_directory_path() / ("tarnel-bench-tiles-" + suffix(kind)))
    {
        const EptDataType written = kind == Kind::Zstandard ? EptDataType::Zstandard : EptDataType::Binary;
        const Samples::EptSummary summary =
            Samples::writeSampleEpt(mFolder, {.points = kPoints, .dataType = written});
        if (kind == Kind::Laszip)
        {
            compressTiles(mFolder);
        }
        for (const Samples::WrittenTile& tile : summary.tiles)
        {
            if (tile.pointCount > 0)
            {
                nodes.push_back(tile.id);
                files.push_back(mFolder / "ept-data" / (tile.key + '.' + suffix(kind)));
                counts.push_back(tile.pointCount);
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
    std::vector<std::uint64_t> counts;
    std::uint64_t pointCount = 0;

private:
    static std::string suffix(Kind kind)
    {
        return kind == Kind::Binary ? "bin" : kind == Kind::Zstandard ? "zst" : "laz";
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

void unpackFrame(const std::vector<char>& stored, std::vector<char>& out)
{
    if (ZSTD_isError(ZSTD_decompress(out.data(), out.size(), stored.data(), stored.size())) != 0)
    {
        throw std::runtime_error("a tile of the benchmark cannot be unpacked");
    }
}

void readLazPoints(const std::vector<char>& stored, std::uint64_t count)
{
    LASzip compression;
    compression.compressor = LASZIP_COMPRESSOR_LAYERED_CHUNKED;
    compression.chunk_size = kLaszipTileOptions.chunkSize;
    compression.num_items = 2;
    compression.items =
        new LASitem[2]{{LASitem::POINT14, 30, 3}, {LASitem::RGB14, 6, 3}};  // which it deletes
    LASreadPoint reader;
    ByteStreamInArrayLE stream(reinterpret_cast<const U8*>(stored.data()), static_cast<I64>(stored.size()));
    stream.seek(static_cast<I64>(pointsPosition(kLaszipTileOptions)));
    reader.setup(compression.num_items, compression.items, &compression);
    reader.init(&stream);
    alignas(8) std::array<U8, 128> point{};
    alignas(8) std::array<U8, 8> color{};
    const std::array<U8*, 2> items{point.data(), color.data()};
    for (std::uint64_t i = 0; i < count; ++i)
    {
        if (!reader.read(items.data()))
        {
            throw std::runtime_error("a tile of the benchmark cannot be unpacked");
        }
        benchmark::DoNotOptimize(point.data());
    }
}

void alone(benchmark::State& state, Kind kind)
{
    const Tiles tiles(kind);
    std::vector<char> stored;
    std::vector<char> unpacked(std::size_t{64} << 20U);
    for ([[maybe_unused]] auto round : state)
    {
        for (std::size_t i = 0; i < tiles.files.size(); ++i)
        {
            readWhole(tiles.files[i], stored);
            if (kind == Kind::Zstandard)
            {
                unpackFrame(stored, unpacked);
            }
            else if (kind == Kind::Laszip)
            {
                readLazPoints(stored, tiles.counts[i]);
            }
            benchmark::DoNotOptimize(unpacked.data());
        }
    }
    countPoints(state, tiles);
}

void decoded(benchmark::State& state, Kind kind)
{
    const Tiles tiles(kind);
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

BENCHMARK_CAPTURE(alone, binary, Kind::Binary)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decoded, binary, Kind::Binary)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(alone, zstandard, Kind::Zstandard)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decoded, zstandard, Kind::Zstandard)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(alone, laszip, Kind::Laszip)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decoded, laszip, Kind::Laszip)->Unit(benchmark::kMillisecond);
}  // namespace
