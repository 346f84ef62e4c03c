#pragma once

#include <graphics/DepthImage.h>
#include <render/scene/Camera.h>

#include <string>

namespace Cli
{
/// Whether a file of that name can hold depths: .png, .tif, .tiff or .pfm.
/// @throws CLI::ValidationError  naming the option and the path when it cannot
void requireDepthFile(const std::string& option, const std::string& path);

/// Where the side file of a depth file with distances stands: its name with ".json" behind it; empty for PNG, which has
/// none.
std::string depthSideFile(const std::string& path);

/// What depths say of distances: along the viewing direction, from the plane through the eye, in the camera's units;
/// NaN where nothing is drawn.
/// @param depth  as the depth buffer has it
float distanceOf(float depth, const Render::Camera& camera);

/// Writes a depth buffer: as 16-bit grey into PNG, as distances of 32 bits into TIFF and PFM, with a side file in JSON.
/// @throws std::runtime_error  naming the file that cannot be written
void writeDepthFile(
    const std::string& path, const Graphics::DepthImage& depths, const Render::Camera& camera
);
}  // namespace Cli
