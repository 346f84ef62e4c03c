#pragma once

#include "samples/SampleScene.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Samples
{
/// A building that is planned in the sample scene, as triangles: a windmill on the meadow.
///
/// Frame    the scene's: metres from SampleScene::kOrigin, so that floats are exact enough.
/// Colours  as photographed, with sun, shade and patterns, since a mesh file has neither light nor materials.
struct SampleMesh
{
    struct Vertex
    {
        Vector position;
        Tint color;  ///< 0 to 1, gamma coded
    };

    struct Part
    {
        std::string name;
        std::vector<Vertex> vertices;
        std::vector<std::array<std::uint32_t, 3>> triangles;  ///< anticlockwise as seen from outside
    };

    Vector foot;  ///< where it stands: on the ground, in its middle
    std::vector<Part> parts;
};

/// @param threadCount  0 for one per core; does not change the result
SampleMesh makeSampleMesh(const SampleScene& scene, unsigned threadCount = 0);

/// Writes a Wavefront OBJ file with a colour for each vertex and one object for each part. The same mesh
/// gives the same bytes everywhere.
/// @throws std::runtime_error  naming the file that could not be written
void writeObj(const std::filesystem::path& path, const SampleMesh& mesh);
}  // namespace Samples
