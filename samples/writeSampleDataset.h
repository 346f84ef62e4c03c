#pragma once

#include "samples/CopcWriter.h"
#include "samples/EptWriter.h"
#include "samples/OctreeWriter.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace Samples
{
struct SampleDatasetOptions
{
    std::size_t points = 1'000'000;
    std::uint64_t seed = 1;
    OctreeEncoding encoding = OctreeEncoding::Brotli;
    unsigned threadCount = 0;  ///< 0 for one per core; does not change the result
};

/// Scans the sample scene and writes it as a three-file octree with positions, colours, intensities,
/// classifications, scan indices and normals.
/// @throws std::runtime_error  naming the file that could not be written
OctreeSummary writeSampleDataset(
    const std::filesystem::path& folder, const SampleDatasetOptions& options = {}
);

struct SampleEptOptions
{
    std::size_t points = 1'000'000;
    std::uint64_t seed = 1;
    EptDataType dataType = EptDataType::Binary;
    unsigned threadCount = 0;
};

/// The same cloud in the same nodes as Entwine Point Tiles.
EptSummary writeSampleEpt(const std::filesystem::path& folder, const SampleEptOptions& options = {});

struct SampleCopcOptions
{
    std::size_t points = 1'000'000;
    std::uint64_t seed = 1;
    unsigned threadCount = 0;
};

/// The same cloud in the same nodes as one COPC file, without normals.
/// @param file  in a folder that is there
CopcSummary writeSampleCopc(const std::filesystem::path& file, const SampleCopcOptions& options = {});
}  // namespace Samples
