#pragma once

#include "samples/scene/Material.h"
#include "samples/scene/Vector.h"

#include <cstdint>
#include <vector>

namespace Samples
{
/// A rectangle of ground that a building stands on.
struct Footprint
{
    double x = 0;  ///< its middle
    double y = 0;
    double angle = 0;    ///< of its length, in radians from east towards north
    double length = 10;  ///< metres
    double width = 8;

    /// Metres from the rectangle's edge, negative inside.
    double distance(double px, double py) const noexcept;
};

enum class BuildingKind
{
    House,
    Church,
    Barn,
};

struct BuildingSite
{
    BuildingKind kind = BuildingKind::House;
    Footprint footprint;
    std::uint64_t seed = 0;  ///< of what differs from building to building
};

/// Where everything lies in the scene: a village along a road between a wooded hill, fields and a pond.
///
/// Frame    metres, x east and y north of the scene's south-west corner, 0 to kSize.
/// Threads  const operations from any threads at once.
class SitePlan
{
public:
    static constexpr double kSize = 160;

    explicit SitePlan(std::uint64_t seed);

    const std::vector<BuildingSite>& buildings() const noexcept { return mBuildings; }

    /// The main road's middle, which runs from west to east.
    static double roadY(double x) noexcept;
    static double roadAngle(double x) noexcept;

    /// The middle of the lane that leaves the road northwards.
    static double laneX(double y) noexcept;

    /// Metres from the middle of the road, positive north of it.
    static double roadOffset(double x, double y) noexcept;

    /// Metres from the middle of the lane, positive east of it; large south of the road.
    static double laneOffset(double x, double y) noexcept;

    /// Metres from the footpath between lane and pond.
    static double pathDistance(double x, double y) noexcept;

    /// 0 in the pond's middle, about 1 at its shore, more outside.
    static double pondDistance(double x, double y) noexcept;

    /// 1 in the wood on the hill, 0 well outside.
    static double woodDensity(double x, double y) noexcept;

    /// Metres from the nearest building, negative in one.
    double buildingDistance(double x, double y) const noexcept;

    /// What the ground is covered with.
    Material cover(double x, double y) const noexcept;

    /// How tall the crop stands, 0 where there is none.
    static double cropHeight(double x, double y) noexcept;

private:
    std::vector<BuildingSite> mBuildings;
};
}  // namespace Samples
