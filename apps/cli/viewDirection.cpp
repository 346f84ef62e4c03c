#include "apps/cli/viewDirection.h"

#include <cmath>
#include <map>
#include <numbers>
#include <utility>

namespace Cli
{
namespace
{
constexpr double kStraight = 90.0;
const double kIsometricElevation = std::atan(1.0 / std::numbers::sqrt2) * 180.0 / std::numbers::pi;
}  // namespace

ViewDirection viewDirection(double azimuthDeg, double elevationDeg)
{
    const double azimuth = azimuthDeg * std::numbers::pi / 180.0;
    const double elevation = elevationDeg * std::numbers::pi / 180.0;
    if (std::abs(elevationDeg) >= kStraight)
    {
        // what would be up a little beside: of the eye's own side when seen from below
        const double side = elevationDeg > 0.0 ? -1.0 : 1.0;
        return {
            {0.0, 0.0, elevationDeg > 0.0 ? 1.0 : -1.0},
            {side * std::sin(azimuth), side * std::cos(azimuth), 0.0}};
    }
    return {
        {std::sin(azimuth) * std::cos(elevation),
         std::cos(azimuth) * std::cos(elevation),
         std::sin(elevation)},
        Eigen::Vector3d::UnitZ()};
}

ViewDirection viewDirection(const std::string& name)
{
    static const std::map<std::string, std::pair<double, double>> kViews{
        {"top", {180.0, kStraight}},
        {"bottom", {0.0, -kStraight}},
        {"north", {0.0, 0.0}},
        {"east", {90.0, 0.0}},
        {"south", {180.0, 0.0}},
        {"west", {270.0, 0.0}},
        {"iso", {45.0, kIsometricElevation}},
    };
    const auto [azimuth, elevation] = kViews.at(name);
    return viewDirection(azimuth, elevation);
}
}  // namespace Cli
