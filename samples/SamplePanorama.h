#pragma once

#include "samples/SampleScene.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace Samples
{
struct SamplePanoramaOptions
{
    std::uint32_t width = 2048;  ///< pixels, twice the height; even
    std::uint32_t tileSize = 512;
    std::size_t scanner = 0;   ///< where it is taken: an index into SampleScene::scanners()
    unsigned threadCount = 0;  ///< 0 for one per core; does not change the result
};

/// Takes a panorama with depth from where a scanner stood and writes it as a panorama folder whose pose is in
/// the absolute coordinates of the scans.
/// @throws std::invalid_argument  for an odd width, or a scanner that there is not
/// @throws std::runtime_error     naming the file that could not be written
void writeSamplePanorama(
    const std::filesystem::path& folder, const SampleScene& scene, const SamplePanoramaOptions& options = {}
);
}  // namespace Samples
