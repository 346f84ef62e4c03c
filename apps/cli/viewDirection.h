#pragma once

#include <Eigen/Core>

#include <string>

namespace Cli
{
/// From where a scene is seen: from its middle towards the eye, of length 1, and what is up there.
struct ViewDirection
{
    Eigen::Vector3d towardsEye;
    Eigen::Vector3d up;
};

/// @param azimuthDeg    clockwise from the north, which is y
/// @param elevationDeg  above the horizon; straight up and down the north is up
ViewDirection viewDirection(double azimuthDeg, double elevationDeg);

/// @param name  top, bottom, north, south, east, west or iso: where the eye is
ViewDirection viewDirection(const std::string& name);
}  // namespace Cli
