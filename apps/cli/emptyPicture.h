#pragma once

#include <math/HalfSpace.h>
#include <math/NBoundingBox.h>
#include <render/scene/Camera.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Cli
{
/// What is known of a picture that shows nothing.
struct EmptyPicture
{
    const Render::Camera& camera;
    Math::NBoundingBox<float, 3> box;                          ///< of the scene, in its coordinates
    const std::vector<Math::HalfSpace<float, 3>>& clipPlanes;  ///< likewise
    std::uint64_t drawnPoints = 0;                             ///< of all nodes that were drawn
    bool isFiltered = false;  ///< whether points may be hidden by what they are
};

/// Why a picture shows nothing, in words that follow "the picture shows no point: ".
std::string reasonOfEmptyPicture(const EmptyPicture& picture);
}  // namespace Cli
