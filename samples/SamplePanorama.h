#pragma once

#include "samples/SampleScene.h"

#include <cstdint>
#include <filesystem>
#include <functional>

namespace Samples
{
struct SamplePanoramaOptions
{
    std::uint32_t width = 2048;  ///< pixels, twice the height; even
    std::uint32_t tileSize = 512;
    Vector stand{137, 153, 9};  ///< where the camera is: metres east, north, and above the ground there
    unsigned threadCount = 0;   ///< 0 for one per core; does not change the result

    /// Told how many of how many rows are drawn, tiles written; on the threads that draw, one call at a time, with
    /// counts that only grow. May be empty.
    std::function<void(std::uint64_t done, std::uint64_t all)> rowsDrawn;
    std::function<void(std::uint64_t done, std::uint64_t all)> tilesWritten;
};

/// Where such a panorama is taken, in the scene's frame.
Vector panoramaCenter(const SampleScene& scene, const SamplePanoramaOptions& options = {});

/// Takes a panorama with depth from a mast in the scene and writes it as a panorama folder whose pose is in
/// the absolute coordinates of the scans.
/// @throws std::invalid_argument  for an odd width, or a stand outside the scene
/// @throws std::runtime_error     naming the file that could not be written
void writeSamplePanorama(
    const std::filesystem::path& folder, const SampleScene& scene, const SamplePanoramaOptions& options = {}
);
}  // namespace Samples
