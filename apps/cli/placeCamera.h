#pragma once

#include <math/NBoundingBox.h>
#include <math/Point.h>

#include <Eigen/Core>

#include <optional>
#include <string>

namespace Cli
{
/// What the options say about the camera; points in the coordinates of the scene.
struct CameraWish
{
    std::optional<Math::Point<float, 3>> eye;
    std::optional<Math::Point<float, 3>> target;
    Eigen::Vector3f up = Eigen::Vector3f::UnitZ();
    std::string eyeText;  ///< the three as the user has written them, for messages
    std::string targetText;
    std::string upText;
    float fovYRad = 1.0F;
    bool isOrthographic = false;
    bool isThumbnail = false;  ///< without an eye, from where thumbnails look

    // Without an eye:
    std::optional<Eigen::Vector3f> towardsEye;        ///< from the target, of any length above 0
    std::optional<float> distance;                    ///< of the eye from the target; fitted where not given
    std::optional<Math::NBoundingBox<float, 3>> fit;  ///< what is to fill the picture instead of the scene
};

/// What there is to see.
struct SeenScene
{
    Math::NBoundingBox<float, 3> box;              ///< of clouds and meshes; empty without any
    std::optional<Eigen::Matrix4f> firstPanorama;  ///< its world matrix
    float aspect = 1.0F;                           ///< width of the picture by its height
};

/// Where the camera stands and how far it sees.
struct CameraPlacement
{
    Math::Point<float, 3> eye;
    Eigen::Vector3f direction;  ///< of any length above 0
    Eigen::Vector3f up;
    float nearDistance = 0.0F;
    float farDistance = 0.0F;
    bool fitsZRange = false;   ///< near and far follow the scene; the two above are what they start from
    float targetDepth = 0.0F;  ///< of what it looks at, along the direction; negative behind it
    float orthographicHeight = 1.0F;  ///< of a parallel view that holds what is to fill the picture
};

/// Fills in what the user has left open.
///
/// Without an eye the whole scene is seen from the north-east and above, or, where there are only panoramas,
/// everything from the place of the first; a target without an eye is seen from as far away. A range that is
/// fitted to the scene would cut panoramas, which reach from the eye to the sky, and would leave a flat scene
/// no depth: such scenes get a range of their own.
/// @throws CLI::ValidationError  for an eye at the target, and for an up that is zero or along the direction
CameraPlacement placeCamera(const CameraWish& wish, const SeenScene& scene);
}  // namespace Cli
