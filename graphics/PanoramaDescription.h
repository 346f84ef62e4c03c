#pragma once

#include "graphics/Export.h"
#include "math/eigenAlignment.h"

#include <Eigen/Core>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Core
{
class ByteFolder;
}

namespace Graphics
{
/// What the file panorama.json of a panorama folder says.
///
/// Threads  a plain value.
struct PanoramaDescription
{
    /// Name of the file in the panorama's folder.
    static constexpr const char* kFileName = "panorama.json";

    /// Path of the colour pyramid's description inside the folder, with "/".
    std::string color = "color.dzi";
    std::string depth = "depth.dzi";               ///< the same of the depth pyramid
    double depthScale = 1.0 / 512.0;               ///< metres along the ray for each step of a depth code
    std::vector<std::uint16_t> noDepth{0, 65535};  ///< codes that say that nothing was measured
    Eigen::Matrix4d pose = Eigen::Matrix4d::Identity();  ///< from the panorama's frame to its surroundings
};

/// Understands the text of panorama.json. Members other than "version", "projection", "color" and "depth" may
/// be missing.
/// @throws std::runtime_error  saying what is wrong, not naming a file; also for another version or
///                             projection, and for paths that leave the folder
GRAPHICS_API PanoramaDescription parsePanoramaDescription(std::string_view text);

/// Reads the panorama.json of a folder, of at most 1 MiB.
/// @throws std::runtime_error  naming the file and what is wrong
GRAPHICS_API PanoramaDescription readPanoramaDescription(const Core::ByteFolder& folder);

/// The same for a local folder.
GRAPHICS_API PanoramaDescription readPanoramaDescription(const std::filesystem::path& folder);

/// The text of panorama.json.
GRAPHICS_API std::string panoramaDescriptionText(const PanoramaDescription& description);
}  // namespace Graphics
